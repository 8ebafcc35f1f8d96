#ifndef TESTS_VEXO_SCRIPT_FROM_C_H
#define TESTS_VEXO_SCRIPT_FROM_C_H

#ifdef __cplusplus
extern "C" {
#endif

/* Goes through the C interface as a C program does; null, or what went wrong. */
char const* scriptFromC(void);

#ifdef __cplusplus
}
#endif

#endif
