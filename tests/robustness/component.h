#ifndef ZOLDEBUG_TESTS_COMPONENT_H
#define ZOLDEBUG_TESTS_COMPONENT_H

/** The one function of the component: uses the library in every way that hands over a text. */
typedef void (*UseLibrary)();

#endif
