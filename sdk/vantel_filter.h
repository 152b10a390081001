#ifndef VANTEL_FILTER_H
#define VANTEL_FILTER_H
/* Filter plug-ins (.vtf): picture filters, audio filters, deinterlace methods and tools with a window. A plug-in
 * exports FILTER* GetFilterTable(void);            one record, or FILTER** GetFilterTableList(void);       several, a
 * null at the end; and, to be used while pictures are kept as YUY2, the same with the suffix "YUY2". The host copies
 * the fields from `flags` to `reserved` into a record of its own; all callbacks get that copy. All calls come on the
 * program's main thread. Texts and paths are NUL-terminated code page 932. Pointers and handles have the machine's
 * width, everything else has 32 bits; on a 32-bit machine FILTER has 1220 bytes and FILTER_PROC_PARAM 104. Plain C.
 * Pixels are declared in vantel_pixel.h. */
#include <stdint.h>

typedef struct YC48_PIXEL YC48_PIXEL;
typedef struct EDIT_STATE EDIT_STATE;           /* the edit: opaque, only handed back to the host */
typedef struct HOST_FUNC_TABLE HOST_FUNC_TABLE; /* the functions that the host offers */
typedef struct FILTER FILTER;
typedef struct FILTER_PROC_PARAM FILTER_PROC_PARAM;

enum {
    FILTER_TRACK_MAX = 32, /* track bars of a filter */
    FILTER_CHECK_MAX = 32  /* check boxes, push buttons or menu entries of a filter */
};

/* Bits of FILTER.flags. The host changes ACTIVE, SHOWN and MODULE_SHARED, the plug-in sets all others as it wants. */
enum {
    FILTER_F_ACTIVE = 0x00000001,             /* the filter runs: the user's switch */
    FILTER_F_SHOWN = 0x00000002,              /* its window is visible */
    FILTER_F_ALWAYS_ON = 0x00000004,          /* active whatever the settings say, and cannot be switched */
    FILTER_F_SUBMENU = 0x00000008,            /* menu filter: its entries go into a popup menu of their own */
    FILTER_F_MENU_CHECKS = 0x00000010,        /* no window: each check is a menu entry that toggles */
    FILTER_F_MENU_RADIO = 0x00000020,         /* no window: the checks are menu entries of which one is selected */
    FILTER_F_MENU_SEPARATOR = 0x00000080,     /* a separator follows the entries */
    FILTER_F_SHARED_MENU = 0x00000100,        /* the entries go into the popup of the last FILTER_F_SUBMENU filter */
    FILTER_F_PLAIN_TITLE = 0x00000200,        /* menu text of the window: the name without a suffix */
    FILTER_F_EXTRA_DATA = 0x00000400,         /* extra_data is kept with the settings */
    FILTER_F_ORDER_FIRST = 0x00000800,        /* default chain place 0 */
    FILTER_F_ORDER_LAST = 0x00001000,         /* default chain place 127 */
    FILTER_F_SIZABLE = 0x00002000,            /* window with a sizing frame, whose size is kept */
    FILTER_F_OWN_SIZE = 0x00004000,           /* pos_x and pos_y give the window's size, see FILTER_SIZE_... */
    FILTER_F_DISPLAY = 0x00008000,            /* display tool: outside the chain, works on what is shown */
    FILTER_F_MODULE_SHARED = 0x00010000,      /* host: a further record of the same file */
    FILTER_F_OWN_PAINT = 0x00020000,          /* the host does not fill the window's background */
    FILTER_F_INFO_ONLY = 0x00040000,          /* information list: info_text instead of name */
    FILTER_F_INFO_AND_NAME = 0x00080000,      /* information list: name, a blank and info_text */
    FILTER_F_NO_WINDOW = 0x00100000,          /* no window */
    FILTER_F_AUDIO = 0x00200000,              /* audio filter: never called for pictures */
    FILTER_F_RADIO_CHECKS = 0x00400000,       /* the check boxes are a radio group */
    FILTER_F_HSCROLL = 0x00800000,            /* window with a horizontal scroll bar */
    FILTER_F_VSCROLL = 0x01000000,            /* window with a vertical scroll bar */
    FILTER_F_TEXT_IDS = 0x02000000,           /* name and labels may be numbers 1 .. 255 of the program's texts */
    FILTER_F_DEINTERLACE_METHOD = 0x04000000, /* deinterlace method: outside the chain, chosen by number */
    FILTER_F_TEMPORAL = 0x08000000,           /* fetches its input frames itself, so the chain may begin at it */
    FILTER_F_IMPORT = 0x10000000,             /* an entry in the import menu */
    FILTER_F_EXPORT = 0x20000000,             /* an entry in the export menu */
    FILTER_F_MAIN_MESSAGES = 0x40000000       /* func_WndProc gets mouse, key and size messages of the main window */
};

/* Bits of pos_x and pos_y with FILTER_F_OWN_SIZE, above a size in pixels. */
enum {
    FILTER_SIZE_CLIENT = 0x10000000, /* the size of the client area; without it, of the whole window */
    FILTER_SIZE_ADD = 0x20000000     /* added to the default size */
};

/* Status of func_update: 0 when all may have changed, or an index with one of these. */
enum { FILTER_UPDATE_TRACK = 0x10000, FILTER_UPDATE_CHECK = 0x20000 };

/* Messages of func_WndProc. */
enum {
    FILTER_MSG_FRAME_SHOWN = 1124,     /* posted after the display of a frame was renewed */
    FILTER_MSG_FILE_OPENED = 1125,     /* a new edit was opened */
    FILTER_MSG_FILE_CLOSING = 1126,    /* the edit is about to close */
    FILTER_MSG_STARTED = 1127,         /* once, when all filters have been started */
    FILTER_MSG_STOPPING = 1128,        /* once, before shut-down */
    FILTER_MSG_SAVE_START = 1129,      /* behind all func_save_start */
    FILTER_MSG_SAVE_END = 1130,        /* before all func_save_end */
    FILTER_MSG_IMPORT = 1131,          /* the import entry was chosen */
    FILTER_MSG_EXPORT = 1132,          /* the export entry was chosen */
    FILTER_MSG_ACTIVE_CHANGED = 1133,  /* posted when FILTER_F_ACTIVE changed */
    FILTER_MSG_WINDOW_CHANGED = 1134,  /* the window was shown or hidden; also once behind FILTER_MSG_STARTED */
    FILTER_MSG_SETTING_CHANGED = 1135, /* posted behind func_update; wparam: its status */
    FILTER_MSG_EDIT_CHANGED = 1136,    /* behind opening and closing */
    FILTER_MSG_MENU_COMMAND = 1137,    /* an entry made by menu_add_item was chosen; wparam: its number */
    FILTER_MSG_FILE_UPDATED = 1138,    /* the frames of the edit were rebuilt without a new file */
    /* with FILTER_F_MAIN_MESSAGES; lparam of the mouse: place in the picture, x and y as 16-bit halves */
    FILTER_MSG_MAIN_LEFT_DOWN = 1144,
    FILTER_MSG_MAIN_LEFT_UP = 1145,
    FILTER_MSG_MAIN_MOVE = 1146,
    FILTER_MSG_MAIN_KEY_DOWN = 1147,
    FILTER_MSG_MAIN_KEY_UP = 1148,
    FILTER_MSG_MAIN_RESIZED = 1149, /* lparam: the main window */
    FILTER_MSG_MAIN_LEFT_DOUBLE = 1150,
    FILTER_MSG_MAIN_RIGHT_DOWN = 1151,
    FILTER_MSG_MAIN_RIGHT_UP = 1152,
    FILTER_MSG_MAIN_WHEEL = 1153,
    FILTER_MSG_MAIN_CONTEXT = 1154
};

/* Bits of FILTER_PROC_PARAM.flags. */
enum {
    PROC_F_FIELDS_SWAPPED = 0x00010000, /* the top field is the earlier one */
    PROC_F_FRAME_INVERTED = 0x00020000  /* the frame's interlace mode is "reverse" */
};

/* One frame, or one block of sound, on its way through the filters. A filter may change image, scratch, width and
 * height. */
struct FILTER_PROC_PARAM {
    uint32_t flags;             /* PROC_F_... */
    YC48_PIXEL* image;          /* pixel 0 of row 0; rows lie line_size bytes apart; YUY2 when pixel_size is 2 */
    YC48_PIXEL* scratch;        /* a second picture, free for use: write there, then swap it with image */
    int32_t width, height;      /* of the picture as it is now */
    int32_t buffer_width;       /* pixels that a row has room for */
    int32_t buffer_height;      /* largest height of a picture */
    int32_t frame, frame_count; /* number in the edit, from 0, and frames of the edit */
    int32_t source_width;       /* of the picture before any filter */
    int32_t source_height;
    int16_t* audio;        /* audio filters: interleaved samples, changed in place */
    int32_t audio_samples; /* samples of each channel */
    int32_t audio_channels;
    void* display_pixels; /* display tools: a spare buffer; else null */
    EDIT_STATE* edit;
    int32_t pixel_size;   /* bytes: 6 (YC48) or 2 (YUY2) */
    int32_t line_size;    /* bytes */
    uint32_t reserved[8]; /* 0 */
};

struct FILTER {
    uint32_t flags;       /* FILTER_F_... */
    int32_t pos_x, pos_y; /* size with FILTER_F_OWN_SIZE; later the window's place */
    const char* name;     /* also the key of the settings */
    int32_t track_count;
    const char** track_labels;
    const int32_t* track_defaults;
    const int32_t* track_lows;  /* null: 0 */
    const int32_t* track_highs; /* null: 256 */
    int32_t check_count;
    const char** check_labels;     /* a null label makes no menu entry */
    const int32_t* check_defaults; /* a negative value: a push button, or an entry that cannot be selected */
    /* Callbacks; each may be null. Results are ignored where nothing is said of them. */
    int (*func_proc)(FILTER* filter, FILTER_PROC_PARAM* param); /* a frame, or a block of sound */
    int (*func_init)(FILTER* filter);                           /* once; 0: the filter is invalid */
    int (*func_exit)(FILTER* filter);                           /* once */
    int (*func_update)(FILTER* filter, int32_t status);         /* a setting changed */
    int (*func_WndProc)(void* window, uint32_t message, uintptr_t wparam, intptr_t lparam, EDIT_STATE* edit,
                        FILTER* filter); /* 1: the picture changed, redraw */
    int32_t* track_values;               /* host */
    int32_t* check_values;               /* host */
    void* extra_data;                    /* kept with the settings with FILTER_F_EXTRA_DATA */
    int32_t extra_size;                  /* bytes */
    const char* info_text;               /* text of the information list */
    int (*func_save_start)(FILTER* filter, int32_t first, int32_t last, EDIT_STATE* edit);
    int (*func_save_end)(FILTER* filter, EDIT_STATE* edit);
    HOST_FUNC_TABLE* host;      /* host */
    void* window;               /* host: null while there is none */
    void* module;               /* host: the plug-in file */
    const void* extra_defaults; /* extra_size bytes, or null */
    /* Deinterlace methods: whether a frame stays when the rate is reduced; 0: drop it. */
    int (*func_is_saveframe)(FILTER* filter, EDIT_STATE* edit, int32_t save_number, int32_t frame, int32_t fps,
                             int32_t edit_flag, int32_t inter);
    int (*func_project_load)(FILTER* filter, EDIT_STATE* edit, void* data, int32_t size);
    /* data null: only the size is asked. 1: there is a block. */
    int (*func_project_save)(FILTER* filter, EDIT_STATE* edit, void* data, int32_t* size);
    int (*func_modify_title)(FILTER* filter, EDIT_STATE* edit, int32_t frame, char* text, int32_t capacity);
    const char* folder_name; /* host: sub-folder of the plug-in folder, or null */
    uint32_t reserved[2];
    /* From here on the host's own; a plug-in may look but not write. */
    int32_t menu_index; /* number in command ids */
    void* main_window;
    void* active_box;
    void* track_bars[FILTER_TRACK_MAX];
    void* track_edits[FILTER_TRACK_MAX];
    void* track_lefts[FILTER_TRACK_MAX];
    void* track_rights[FILTER_TRACK_MAX];
    void* track_names[FILTER_TRACK_MAX];
    void* check_boxes[FILTER_CHECK_MAX];
    int32_t track_store[FILTER_TRACK_MAX]; /* values; menu filter: selected index, first and last command id */
    int32_t check_store[FILTER_CHECK_MAX];
    void* menu;
    int32_t chain_order; /* 0 .. 127; -1: takes no place */
    void* instance;
    void* cache_frame_a;
    void* cache_frame_b;
    void* cache_store;
    int32_t cache_width, cache_height;
    int32_t cache_depth; /* frames */
    int32_t cache_flags; /* FILTER_CACHE_... */
    int32_t pixel_size;  /* 6 or 2 */
};

/* Bits of cache_flags. */
enum { FILTER_CACHE_MARGIN = 1 }; /* pictures have a margin; the size asked for includes 4 pixels on each side */

#endif
