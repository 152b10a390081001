#ifndef VANTEL_INPUT_H
#define VANTEL_INPUT_H
/* Input plug-ins (.vti): files that the program reads. A plug-in exports
 *     INPUT_PLUGIN_TABLE* GetInputPluginTable(void);
 * and the host keeps its own copy of the record. All calls come on the program's main thread. Texts and paths are
 * NUL-terminated code page 932. Pointers have the machine's width; on a 32-bit machine the record has 116 bytes. */
#include <stdint.h>

#include "vantel_formats.h"

typedef void* INPUT_PLUGIN_HANDLE; /* the plug-in's own; null = failure */

/* Bits of INPUT_PLUGIN_TABLE.flags. The last four belong to the host. */
enum {
    INPUT_F_VIDEO = 0x00000001,      /* patterns count for the video file dialog */
    INPUT_F_AUDIO = 0x00000002,      /* patterns count for the audio file dialog */
    INPUT_F_HAS_CONFIG = 0x00000100, /* func_config exists */
    INPUT_F_BUILT_IN = 0x00100000,   /* never loaded or released */
    INPUT_F_VF = 0x00200000,         /* a .vfp record */
    INPUT_F_BY_NAME = 0x00400000     /* reached only by its name */
};

/* Bits of INPUT_MEDIA_INFO.flags. */
enum {
    INPUT_MEDIA_VIDEO = 0x00000001,
    INPUT_MEDIA_AUDIO = 0x00000002,
    INPUT_MEDIA_VARIABLE_AUDIO = 0x00000004, /* positions are asked with func_get_audio_position */
    INPUT_MEDIA_ALL_KEY = 0x00000008,        /* every frame is a key frame */
    INPUT_MEDIA_SELF_DECODE = 0x40000000     /* frames can be had as 24-bit RGB: bit 30 set in the frame number */
};

typedef struct INPUT_MEDIA_INFO {
    uint32_t flags;
    int32_t rate, scale; /* frames a second = rate / scale */
    int32_t frames;
    BITMAPINFOHEADER* video_format; /* the plug-in's memory, read at once */
    int32_t video_format_size;      /* bytes, at most 8192 */
    int32_t audio_samples;          /* samples, or the length in the units of func_read_audio */
    WAVEFORMATEX* audio_format;     /* the plug-in's memory, read at once */
    int32_t audio_format_size;      /* bytes, at most 8192 */
    uint32_t video_handler;         /* four-character code of compressed video, 0 for none */
    uint32_t reserved[7];
} INPUT_MEDIA_INFO;

typedef struct INPUT_PLUGIN_TABLE {
    uint32_t flags;
    const char* name;        /* also the settings section of the plug-in */
    const char* filefilter;  /* pairs "AviFile (*.avi)" NUL "*.avi" NUL, then another NUL; patterns separated by ';' */
    const char* information; /* text of the information list */
    int (*func_init)(void);  /* when the file is loaded for use; may be null, result ignored */
    int (*func_exit)(void);  /* just before it is released; may be null, result ignored */
    INPUT_PLUGIN_HANDLE (*func_open)(const char* path);
    int (*func_close)(INPUT_PLUGIN_HANDLE handle);
    int (*func_info_get)(INPUT_PLUGIN_HANDLE handle, INPUT_MEDIA_INFO* info);
    int (*func_read_video)(INPUT_PLUGIN_HANDLE handle, int32_t frame, void* buffer);                /* bytes written */
    int (*func_read_audio)(INPUT_PLUGIN_HANDLE handle, int32_t start, int32_t count, void* buffer); /* units read */
    int (*func_is_keyframe)(INPUT_PLUGIN_HANDLE handle, int32_t frame); /* may be null: every frame is one */
    int (*func_config)(void* window, void* module);                     /* may be null: no settings */
    int32_t (*func_get_audio_position)(INPUT_PLUGIN_HANDLE handle, int32_t sample); /* INPUT_MEDIA_VARIABLE_AUDIO */
    uint32_t reserved[15];
} INPUT_PLUGIN_TABLE;

#endif
