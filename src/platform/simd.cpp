#include "platform/simd.h"

bool simd_enabled = true;
