#ifndef VANTEL_FORMATS_H
#define VANTEL_FORMATS_H
/* Format blocks that plug-ins and files share. Little-endian, no padding beyond what stands here. Plain C. */
#include <stdint.h>

#pragma pack(push, 1)

/* Format of a picture. Positive biHeight: rows stored bottom-up (RGB). */
typedef struct BITMAPINFOHEADER {
    uint32_t biSize; /* 40, or more when extra bytes follow */
    int32_t biWidth;
    int32_t biHeight;
    uint16_t biPlanes;
    uint16_t biBitCount;
    uint32_t biCompression; /* four-character code; 0 = RGB */
    uint32_t biSizeImage;   /* bytes */
    int32_t biXPelsPerMeter;
    int32_t biYPelsPerMeter;
    uint32_t biClrUsed;
    uint32_t biClrImportant;
} BITMAPINFOHEADER;

/* Format of sound; cbSize extra bytes may follow. A plain PCM block may end before cbSize (16 bytes). */
typedef struct WAVEFORMATEX {
    uint16_t wFormatTag; /* 1 = PCM */
    uint16_t nChannels;
    uint32_t nSamplesPerSec;
    uint32_t nAvgBytesPerSec;
    uint16_t nBlockAlign;
    uint16_t wBitsPerSample;
    uint16_t cbSize;
} WAVEFORMATEX;

#pragma pack(pop)

/* A four-character code as it lies in a file. */
#define VANTEL_FOURCC(a, b, c, d) \
    ((uint32_t)(uint8_t)(a) | (uint32_t)(uint8_t)(b) << 8 | (uint32_t)(uint8_t)(c) << 16 | (uint32_t)(uint8_t)(d) << 24)

#endif
