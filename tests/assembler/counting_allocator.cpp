// This test program lets the assembler lack memory.
#include "tests/hal/counting_allocator.cpp"
