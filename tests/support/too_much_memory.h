// For a test program that asks for more memory than there is: sanitizers end the program there if
// they aren't told otherwise. Included by one file of the program.
#pragma once

#define ZERIX_DEFAULT_OPTIONS(name)                                                                \
    extern "C" __attribute__((visibility("default"))) const char *name()                           \
    {                                                                                              \
        return "allocator_may_return_null=1";                                                      \
    }
ZERIX_DEFAULT_OPTIONS(__asan_default_options)
ZERIX_DEFAULT_OPTIONS(__tsan_default_options)
