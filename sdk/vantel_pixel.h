#ifndef VANTEL_PIXEL_H
#define VANTEL_PIXEL_H
/* The internal picture format. Plain C. */
#include <stdint.h>

/* One pixel. y: 0 black .. 4096 white; cb, cr: -2048 .. 2048, 0 neutral. Values may leave these ranges anywhere inside
 * the program and are cut only on the way to 8 bits. */
typedef struct YC48_PIXEL {
    int16_t y;
    int16_t cb;
    int16_t cr;
} YC48_PIXEL;

#endif
