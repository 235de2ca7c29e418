// This test program counts what each thread takes from the heap, too.
#include "tests/hal/counting_allocator.cpp"
