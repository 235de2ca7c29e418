/* What the library's functions are declared with. */
#ifndef ZERIX_ZERIX_EXPORT_H
#define ZERIX_ZERIX_EXPORT_H

/* Stands before each exported function. A program that links the static library on Windows defines
 * ZERIX_STATIC. */
#if defined(_WIN32)
#if defined(ZERIX_BUILDING)
#define ZERIX_API __declspec(dllexport)
#elif defined(ZERIX_STATIC)
#define ZERIX_API
#else
#define ZERIX_API __declspec(dllimport)
#endif
#else
#define ZERIX_API __attribute__((visibility("default")))
#endif

#endif
