// The picture decoder's implementation, built once. Its own vector code is left out, so that a
// picture decodes to the same bytes everywhere.
#define STB_IMAGE_IMPLEMENTATION
#include "sim/stb_image_options.h"
