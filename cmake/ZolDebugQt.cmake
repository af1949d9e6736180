# Finds the Qt to build with and names what the rest of the build needs of it:
#   ZOLDEBUG_QT_MAJOR                   4, 5 or 6; when unset, what is found, 5 first
#   ZOLDEBUG_QT_VERSION                 its version
#   ZOLDEBUG_QT_CORE, ZOLDEBUG_QT_TEST  the targets of QtCore and QtTest
#   ZOLDEBUG_CXX_STANDARD               the language level that this Qt's headers ask for

set(ZOLDEBUG_QT_MAJOR "" CACHE STRING "Major version of Qt: 4, 5 or 6")
set_property(CACHE ZOLDEBUG_QT_MAJOR PROPERTY STRINGS "" 4 5 6)

set(zoldebug_qt_components Core)
if(ZOLDEBUG_BUILD_TESTS)
    list(APPEND zoldebug_qt_components Test)
endif()

if(NOT ZOLDEBUG_QT_MAJOR)
    # One after the other: the targets of two versions must not meet.
    find_package(Qt5 QUIET COMPONENTS Core)
    if(Qt5_FOUND)
        set(ZOLDEBUG_QT_MAJOR 5)
    else()
        find_package(Qt6 QUIET COMPONENTS Core)
        if(Qt6_FOUND)
            set(ZOLDEBUG_QT_MAJOR 6)
        else()
            set(ZOLDEBUG_QT_MAJOR 4)
        endif()
    endif()
endif()

set(ZOLDEBUG_CXX_STANDARD 11)
if(ZOLDEBUG_QT_MAJOR EQUAL 4)
    list(TRANSFORM zoldebug_qt_components PREPEND Qt)
    find_package(Qt4 4.8 REQUIRED COMPONENTS ${zoldebug_qt_components})
    set(ZOLDEBUG_QT_VERSION ${QT_VERSION_MAJOR}.${QT_VERSION_MINOR}.${QT_VERSION_PATCH})
    set(ZOLDEBUG_QT_CORE Qt4::QtCore)
    set(ZOLDEBUG_QT_TEST Qt4::QtTest)
elseif(ZOLDEBUG_QT_MAJOR EQUAL 5 OR ZOLDEBUG_QT_MAJOR EQUAL 6)
    find_package(Qt${ZOLDEBUG_QT_MAJOR} REQUIRED COMPONENTS ${zoldebug_qt_components})
    set(ZOLDEBUG_QT_VERSION ${Qt${ZOLDEBUG_QT_MAJOR}Core_VERSION})
    set(ZOLDEBUG_QT_CORE Qt${ZOLDEBUG_QT_MAJOR}::Core)
    set(ZOLDEBUG_QT_TEST Qt${ZOLDEBUG_QT_MAJOR}::Test)
    if(ZOLDEBUG_QT_MAJOR EQUAL 6)
        set(ZOLDEBUG_CXX_STANDARD 17)
    endif()
else()
    message(FATAL_ERROR "ZOLDEBUG_QT_MAJOR is ${ZOLDEBUG_QT_MAJOR}; it has to be 4, 5 or 6")
endif()
message(STATUS "Building with Qt ${ZOLDEBUG_QT_MAJOR}")
