# How all of the project's own code is compiled.

include(CheckCXXCompilerFlag)

# Records name the source file of their statement; the folder of the build does not belong there.
check_cxx_compiler_flag("-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=" ZOLDEBUG_HAS_MACRO_PREFIX_MAP)

function(zoldebug_compile_strictly target)
    set_target_properties(${target} PROPERTIES
        AUTOMOC ON
        CXX_STANDARD ${ZOLDEBUG_CXX_STANDARD}
        CXX_STANDARD_REQUIRED ON
        CXX_EXTENSIONS OFF)
    target_compile_definitions(${target} PRIVATE
        QT_NO_KEYWORDS
        QT_NO_FOREACH)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
        -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wformat=2)
    if(ZOLDEBUG_HAS_MACRO_PREFIX_MAP)
        target_compile_options(${target} PRIVATE "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=")
    endif()
    if(ZOLDEBUG_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    if(ZOLDEBUG_SANITIZE)
        target_compile_options(${target} PRIVATE
            -fsanitize=${ZOLDEBUG_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
        target_link_libraries(${target} PRIVATE -fsanitize=${ZOLDEBUG_SANITIZE})
    endif()
endfunction()
