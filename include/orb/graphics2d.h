/* orb/graphics2d.h: the interface between a host and libORB_mod_graphics2D.so.1.
 *
 * The module is a 32-bit i386 shared library. A host loads it, looks up
 * ORB_mod_graphics2D_MainLibraryExports and passes it a registration table. From then on the two
 * communicate through the tables and records below. A word is 32 bits; every function is cdecl;
 * every text is NUL-terminated.
 *
 * The header is plain C99 and C++; the assertions at its end check the layout. The module neither
 * reads nor writes members called `unused...` or `host...`.
 */
#ifndef ORB_GRAPHICS2D_H
#define ORB_GRAPHICS2D_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Pixels and requests ------------------------------------------------------------------- */

/* A picture: every graph, the screen, the ground and the display buffer.
 * 8-bit pixels are palette indices, 16-bit pixels 5-6-5, 32-bit pixels 0xAARRGGBB. */
typedef struct __ORBSurface2D__ {
  uint8_t is_wrapper;      /* 1: its pixels belong to another owner */
  uint32_t width, height;  /* pixels, 1..65535 */
  int32_t depth;           /* 8, 16 or 32 bits a pixel */
  uint32_t pitch;          /* bytes a row: width * depth / 8 (a display wrapper's may be more) */
  uint32_t pixel_count;    /* width * height */
  uint32_t byte_size;      /* pitch * height */
  void *pixels;            /* 16-byte aligned; null for a wrapper until its owner sets it */
  uint8_t alpha_channel;   /* 1: bits 24..31 of 32-bit pixels are an alpha channel */
  uint32_t has_cpoints;    /* number of defined control points */
  uint32_t cpoint_last;    /* index of the highest control point */
  uint32_t *cpoints;       /* cpoint_last + 1 records of x, y, defined; record 0 is the centre */
  uint8_t pivot_override;  /* one-shot: the next blit takes pivot_x, pivot_y as its pivot */
  uint32_t pivot_x, pivot_y;
  uint32_t unused;
  struct __ORBSurface2D__ *prev, *next; /* the list of all surfaces */
} __ORBSurface2D__;

/* A clip rectangle in pixels, bounds included; both x bounds come first. */
typedef struct __ORBRegion__ {
  int32_t x0, x1, y0, y1;
} __ORBRegion__;

struct orb_process;

/* One blit request. Angles are thousandths of a degree, sizes and shears percent. */
typedef struct __ORBBlit2D__ {
  int32_t link;                /* index of the draw object of the request */
  struct orb_process *owner;   /* process that receives the drawn box, or null */
  int32_t drawn;               /* out: 1 if the request drew pixels */
  int32_t drawn_x0, drawn_x1, drawn_y0, drawn_y1; /* out: clipped box, inclusive */
  int32_t reserved0[5];
  int32_t x, y, z;             /* position of the pivot; depth for sorting */
  int32_t reserved1;
  int32_t region;              /* clip region; -1 or less: the whole destination */
  int32_t resolution;          /* coordinate divisor, already applied */
  int32_t destination_file, destination_graph;
  int32_t tfmorder;            /* order of shear, scale and rotation, 0..5 */
  int32_t angle;
  int32_t size, size_x, size_y;
  int32_t shear_x, shear_y;
  int32_t flags;               /* 1 hmirror, 2 vmirror, 4 ghost, 8 no key */
  int32_t alpha;               /* 0..255 */
  int32_t fxmode;
  uint32_t fxcolor;            /* in the destination's pixel format */
  int32_t fxintensity;         /* 0..255 */
  int32_t block_x, block_y, block_w, block_h; /* source rectangle of a block blit */
  int32_t own_region;          /* nonzero: clip to the next four words */
  int32_t own_region_x0, own_region_x1, own_region_y0, own_region_y1;
  int32_t reserved2;
  __ORBSurface2D__ *src, *dst;
  int32_t (*blit_op)(struct __ORBBlit2D__ *); /* the operation chosen for this request */
} __ORBBlit2D__;

/* A list of blit requests. */
typedef struct orb_blit_list {
  char *name;
  uint32_t capacity;        /* request slots */
  uint32_t step;            /* slots added at each growth */
  uint32_t used;            /* requests taken this frame */
  uint32_t order_capacity;
  __ORBBlit2D__ *requests;
  __ORBBlit2D__ **order;    /* requests in drawing order once sorted */
} orb_blit_list;

/* A graph inside a library. */
typedef struct orb_map_slot {
  int32_t code;             /* 0: empty */
  uint32_t id;
  char description[256];
  char name[256];
  uint32_t loader_word;
  __ORBSurface2D__ *surface; /* null: the slot is free */
  uint32_t memory_usage;     /* bytes */
} orb_map_slot;

/* A graph library. */
typedef struct orb_fpg {
  int32_t in_use;
  int32_t map_count;
  orb_map_slot *slots;      /* 1000, or more for library 0 */
  uint32_t memory_usage;
} orb_fpg;

/* The current video mode. */
typedef struct orb_mode {
  int32_t x, y;             /* window position */
  int32_t width, height;    /* logical screen, pixels */
  int32_t bpp;              /* 8, 16 or 32 */
  int32_t type;             /* 1 window, 2 full screen */
  int32_t bufferbehaviour;  /* 1024 copy, 2048 page flip */
  int32_t rate;             /* Hz, 0 any */
  uint8_t changing;         /* 1 while a mode change is in progress */
} orb_mode;

/* A palette entry and a palette. */
typedef struct orb_rgb {
  uint8_t r, g, b;
} orb_rgb;

typedef struct __ORBPalette2D__ {
  orb_rgb colours[256];
} __ORBPalette2D__;

/* ---- Registration: what the module passes to its host --------------------------------------- */

typedef struct orb_constant {
  const char *name;         /* null ends the table */
  int32_t value;
} orb_constant;

typedef struct orb_function {
  const char *signature;    /* "name(I,S,IP)"; four zero words end the table */
  const char *result;       /* "I", "S", "DW" or "F" */
  int32_t flag;
  int32_t (*handler)(void);
} orb_function;

enum { ORB_HOOK_INIT = 1, ORB_HOOK_FRAME = 2, ORB_HOOK_RELEASE = 4 };

typedef struct orb_hook {
  int32_t kind;             /* a zero pair ends the table */
  int32_t (*function)(void);
} orb_hook;

struct orb_runtime;

/* The registration interface. The host copies the tables and texts before each call returns. */
typedef struct orb_registration {
  void (*reg_constants)(const orb_constant *table);
  uint32_t unused1[3];
  void (*reg_globals)(const char *declarations);
  void (*reg_locals)(const char *declarations);
  void (*reg_functions)(const orb_function *table);
  void (*reg_hooks)(const orb_hook *table);
  void (*reg_flags)(int32_t flags);
  struct orb_runtime *(*reg_runtime)(void);
} orb_registration;

/* The module's one exported symbol; returns 1. */
typedef int32_t orb_main_library_exports(const orb_registration *registration);
#define ORB_MAIN_LIBRARY_EXPORTS "ORB_mod_graphics2D_MainLibraryExports"

/* ---- Processes ------------------------------------------------------------------------------- */

/* The 23 locals that the module declares, one word each, in declaration order. */
typedef struct orb_locals {
  int32_t file, graph;
  int32_t *xgraph;          /* null, or a script array: count, then that many graph codes */
  int32_t x, y, z, visible, region, resolution;
  int32_t destination_file, destination_graph;
  int32_t tfmorder, angle, size, size_x, size_y, shear_x, shear_y;
  int32_t flags, alpha, fxmode;
  uint32_t fxcolor;
  int32_t fxintensity;
} orb_locals;

/* A process. Its id is the address of its record. */
typedef struct orb_process {
  uint32_t host0;
  int32_t type;
  int32_t status;           /* 2 or above 3: alive and drawable */
  int32_t coordinates;      /* 0 screen, 1 scroll, 2 takes no part in collisions */
  uint32_t walk_question[2]; /* these three are the module's; the host zeroes them once */
  int32_t walk_candidate;
  uint32_t host7[6];
  int32_t box_x0, box_y0, box_x1, box_y1; /* box last drawn, written by the module */
  orb_locals *locals;
} orb_process;

typedef struct orb_process_node {
  orb_process *process;
  struct orb_process_node *next;
} orb_process_node;

typedef struct orb_process_services {
  uint32_t unused0;
  orb_process_node *(*proc_first)(int32_t zero);
  uint32_t unused2[4];
  orb_process *(*proc_current)(void);
  int32_t (*proc_exists)(int32_t id);
} orb_process_services;

/* ---- Device system: the host's windows, files, input, timing --------------------------------- */
/* Any service pointer may be null; the module then skips the call. */

typedef struct orb_window_services {
  void (*message_box)(const char *text, const char *title);
  void (*show_window)(int32_t show);
  void *(*window_handle)(void);
  void (*move_window)(int32_t x, int32_t y);
} orb_window_services;

enum { ORB_PATH_READ = 1, ORB_PATH_WRITE = 2 };
enum { ORB_OPEN_READ = 1, ORB_OPEN_WRITE = 2, ORB_OPEN_READ_COMPRESSED = 7,
       ORB_OPEN_WRITE_COMPRESSED = 8 };

typedef struct orb_file_services {
  const char *(*path)(const char *name, int32_t purpose); /* valid until the next call */
  void *(*open)(const char *name, int32_t mode, int32_t one, const char *key);
  int32_t (*read)(void *buffer, int32_t size, int32_t count, int32_t cipher, void *handle);
  int32_t (*write)(const void *buffer, int32_t size, int32_t count, int32_t cipher, void *handle);
  int32_t (*seek)(void *handle, int32_t offset, int32_t whence); /* 0 on success */
  int32_t (*at_end)(void *handle); /* nonzero if no byte is left */
  void (*close)(void *handle);
} orb_file_services;

typedef struct orb_input_services {
  void (*reset)(void);
  void (*grab_mouse)(int32_t not_first_frame);
  void (*reread_window)(void);
  void (*centre_mouse)(int32_t not_a_mode_change);
} orb_input_services;

typedef struct orb_timing_services {
  void (*set_fps)(int32_t fps, int32_t skip);
} orb_timing_services;

typedef struct orb_scroll_services {
  /* Returns 1 and the offset to add to the process's position if that scroll shows it, else 0. */
  int32_t (*offset)(int32_t process_id, int32_t scroll, int32_t *x, int32_t *y);
} orb_scroll_services;

typedef struct orb_device_system {
  uint8_t *full_screen;     /* read at init, written on mode changes */
  int32_t *frame_rate;
  int32_t *renderer_busy;   /* nonzero: the frame is dropped */
  const orb_window_services *window;
  const orb_file_services *file;
  const orb_input_services *input;
  const orb_timing_services *timing;
  const orb_scroll_services *scroll; /* may be null */
  int32_t desktop_width, desktop_height;
  int32_t *vsync;           /* written on mode changes */
  __ORBSurface2D__ *ground; /* written by the module after every set-mode */
  __ORBSurface2D__ *screen;
} orb_device_system;

/* ---- Runtime: what the module calls ----------------------------------------------------------- */

enum { ORB_VALUE_INT = 0, ORB_VALUE_STRING = 1 };

typedef struct orb_video_hooks {
  void (*mode_change)(int32_t begins);
} orb_video_hooks;

struct orb_device2d;

typedef struct orb_runtime {
  uint8_t *rt_globals;                              /* 0: base of the script's globals */
  uint32_t unused1[2];
  const orb_process_services *rt_processes;         /* 3 */
  const char *(*rt_program_name)(void);             /* 4 */
  uint32_t unused5[2];
  void (*rt_unpop_params)(int32_t count);           /* 7 */
  void (*rt_drop_params)(int32_t count);            /* 8 */
  int32_t (*rt_param_count)(void);                  /* 9 */
  uint32_t unused10[4];
  int32_t (*rt_pop_int)(void);                      /* 14 */
  uint32_t (*rt_pop_uint)(void);                    /* 15 */
  uint32_t unused16[2];
  const char *(*rt_pop_string)(void);               /* 18 */
  uint32_t unused19[6];
  int32_t *(*rt_pop_pointer)(void);                 /* 25 */
  uint32_t unused26[10];
  const char *(*rt_peek_string)(void);              /* 36 */
  uint32_t unused37[15];
  int32_t (*rt_return)(int32_t value);              /* 52 */
  uint32_t unused53[4];
  int32_t (*rt_take_return)(void);                  /* 57 */
  uint32_t unused58[6];
  char *(*rt_new_return_string)(void);              /* 64 */
  uint32_t unused65;
  void (*rt_commit_return_string)(void);            /* 66 */
  uint32_t unused67;
  void (*rt_signal)(int32_t code);                  /* 68 */
  void (*rt_error)(int32_t code, const char *function, int32_t kind, int32_t position,
                   int32_t value);                  /* 69: value is a text's address for kind 1 */
  uint32_t unused70;
  void (*rt_fatal)(int32_t level, const char *message); /* 71 */
  int32_t (*rt_global_offset)(int32_t zero, const char *name); /* 72: bytes */
  uint32_t unused73[4];
  void (*rt_exit)(int32_t code);                    /* 77 */
  uint32_t unused78;
  orb_device_system *rt_device_system;              /* 79 */
  struct orb_device2d *rt_device2D;                 /* 80: slot written by the module */
  uint32_t unused81;
  const orb_video_hooks *rt_video_hooks;            /* 82: may be null */
} orb_runtime;

/* Least size in bytes of the buffer that rt_new_return_string returns: the module's longest text
 * (255 bytes) and its NUL. */
enum { ORB_RETURN_STRING_SIZE = 256 };

/* ---- The device record that the module publishes ---------------------------------------------- */
/* A host may replace these entries: the process scan takes its requests from slot 31 and its
 * operations from slots 19 to 24, the frame hook uses slots 30 and 34, and init opens the display
 * through slot 9. */

typedef int32_t orb_blit_operation(__ORBBlit2D__ *request);

typedef struct orb_device2d {
  orb_mode *mode;                                                          /* 0 */
  uint32_t zero1, zero2;
  int32_t *rendering2D_type;                                               /* 3 */
  __ORBRegion__ *regions;                                                  /* 4 */
  uint8_t *force_sys_fnt;                                                  /* 5 */
  uint8_t *palette_forced;                                                 /* 6 */
  int32_t (*VID_GetGFXDC)(void);                                           /* 7 */
  int32_t (*VID_ReleaseGFXDC)(void);                                       /* 8 */
  int32_t (*VID_SetGFXMode)(void);                                         /* 9 */
  int32_t (*VID_RestoreGFXMode)(void);                                     /* 10 */
  void (*VID_GFXPaint)(void);                                              /* 11 */
  __ORBSurface2D__ *(*ORBGI2D_CreateGFXSurface)(int32_t width, int32_t height, int32_t depth,
                                                uint8_t clear);            /* 12 */
  __ORBSurface2D__ *(*ORBGI2D_CreateGFXSurfaceWrapper)(int32_t width, int32_t height,
                                                       int32_t depth);     /* 13 */
  int32_t (*ORBGI2D_ResizeGFXSurface)(__ORBSurface2D__ *surface, int32_t width, int32_t height,
                                      uint8_t reset_centre, uint8_t clear); /* 14 */
  int32_t (*ORBGI2D_ResizeGFXSurfaceWrapper)(__ORBSurface2D__ *surface, int32_t width,
                                             int32_t height, uint8_t reset_centre,
                                             uint8_t clear);               /* 15 */
  void (*ORBGI2D_DeleteGFXSurface)(__ORBSurface2D__ *surface);             /* 16 */
  void (*ORBGI2D_DeleteGFXSurfaceBufferData)(__ORBSurface2D__ *surface);   /* 17 */
  int32_t (*ForceSurface)(__ORBSurface2D__ *surface);                      /* 18 */
  orb_blit_operation *ORBGI2D_Blit;                                        /* 19 */
  orb_blit_operation *ORBGI2D_BlitScale;                                   /* 20 */
  orb_blit_operation *ORBGI2D_BlitRotate;                                  /* 21 */
  orb_blit_operation *ORBGI2D_BlitRotScale;                                /* 22 */
  orb_blit_operation *ORBGI2D_BlitScaleShear;                              /* 23 */
  orb_blit_operation *ORBGI2D_BlitRotScaleShear;                           /* 24 */
  orb_blit_operation *ORBGI2D_BlitTile;                                    /* 25 */
  orb_blit_operation *ORBGI2D_BlitBlock;                                   /* 26 */
  int32_t (*ORBGI2D_BlitFill)(__ORBSurface2D__ *surface, uint32_t colour,
                              int32_t keep_alpha);                         /* 27 */
  int32_t (*ORBGI2D_ClearScreen)(void);                                    /* 28 */
  int32_t (*CreateBlitList)(const char *name, uint32_t capacity, uint32_t step); /* 29 */
  int32_t (*UseBlitList)(int32_t index);                                   /* 30 */
  __ORBBlit2D__ *(*GetAndUpdateBlitList)(void);                            /* 31 */
  int32_t (*ChangeBlitList)(int32_t index, const __ORBBlit2D__ *request);  /* 32 */
  void (*SortBlitList)(void);                                              /* 33 */
  void (*ResetBlitList)(void);                                             /* 34 */
  orb_blit_list *(*GetPtrBlitList)(void);                                  /* 35 */
  int32_t (*GetNumsBlitOnList)(void);                                      /* 36 */
  uint32_t unset37;
  int32_t (*GetMAPCode)(int32_t file);                                     /* 38 */
  int32_t (*RecMAPCode)(int32_t file, int32_t code, __ORBSurface2D__ *surface); /* 39 */
  orb_fpg *(*GetFPG)(int32_t file);                                        /* 40 */
  int32_t (*GetMaxFPG)(void);                                              /* 41 */
  int32_t (*GetMaxMAP)(void);                                              /* 42 */
  int32_t (*GetMaxREGION)(void);                                           /* 43 */
  orb_map_slot *(*GetMAP)(int32_t file, int32_t graph);                    /* 44 */
  int32_t (*RegionExists)(int32_t region);                                 /* 45 */
  int32_t (*GetFilterNxMode)(void);                                        /* 46 */
  int32_t (*GetEmulatedMode)(void);
  int32_t (*GetEmulatedWidth)(void);
  int32_t (*GetEmulatedHeight)(void);
  int32_t (*GetEmulatedXOffset)(void);
  int32_t (*GetEmulatedYOffset)(void);
  int32_t (*GetVirtualResolution)(void);
  int32_t (*GetVirtualResolutionAspectRatio)(void);
  int32_t (*GetVirtualResolutionWidth)(void);
  int32_t (*GetVirtualResolutionHeight)(void);
  int32_t (*GetVirtualResolutionRatioWidth)(void);
  int32_t (*GetVirtualResolutionRatioHeight)(void);
  int32_t (*GetVirtualResolutionXOffset)(void);
  int32_t (*GetVirtualResolutionYOffset)(void);                            /* 59 */
  int32_t (*set_color)(uint8_t index, int32_t r, int32_t g, int32_t b);    /* 60 */
  int32_t (*find_color)(int32_t r, int32_t g, int32_t b);                  /* 61 */
  uint32_t unset62;
  /* Slots 63 to 67 follow the depth of the video mode; components are 0..255. */
  uint32_t (*set_rgb)(int32_t r, int32_t g, int32_t b);                    /* 63 */
  uint32_t (*set_rgbx)(int32_t r, int32_t g, int32_t b);
  uint32_t (*set_rgba)(int32_t r, int32_t g, int32_t b, int32_t a);
  int32_t (*get_rgb)(uint32_t colour, int32_t *r, int32_t *g, int32_t *b);
  int32_t (*get_rgba)(uint32_t colour, int32_t *r, int32_t *g, int32_t *b, int32_t *a); /* 67 */
  int32_t (*init_force_palette)(const __ORBPalette2D__ *source);           /* 68 */
  int32_t (*get_palette)(__ORBPalette2D__ *out);
  int32_t (*set_palette)(const __ORBPalette2D__ *source);
  int32_t (*copy_palette)(__ORBPalette2D__ *to, const __ORBPalette2D__ *from);
  int32_t (*fade_off)(void);                                               /* 72 */
  int32_t (*fade_on)(void);                                                /* 73 */
  uint32_t unset74[11];
  uint32_t zero85, zero86;
} orb_device2d;

/* ---- Layout ------------------------------------------------------------------------------------ */

#ifdef __cplusplus
#define ORB_LAYOUT(condition) static_assert(condition, #condition)
#else
#define ORB_LAYOUT(condition) _Static_assert(condition, #condition)
#endif
#define ORB_AT(type, member, word) ORB_LAYOUT(offsetof(type, member) == 4 * (word))

ORB_LAYOUT(sizeof(void *) == 4);

ORB_LAYOUT(sizeof(__ORBSurface2D__) == 72);
ORB_AT(__ORBSurface2D__, width, 1);
ORB_AT(__ORBSurface2D__, depth, 3);
ORB_AT(__ORBSurface2D__, pixels, 7);
ORB_AT(__ORBSurface2D__, alpha_channel, 8);
ORB_AT(__ORBSurface2D__, cpoints, 11);
ORB_AT(__ORBSurface2D__, pivot_x, 13);
ORB_AT(__ORBSurface2D__, next, 17);
ORB_LAYOUT(sizeof(__ORBRegion__) == 16);
ORB_LAYOUT(sizeof(__ORBBlit2D__) == 4 * 45);
ORB_AT(__ORBBlit2D__, drawn_x0, 3);
ORB_AT(__ORBBlit2D__, x, 12);
ORB_AT(__ORBBlit2D__, region, 16);
ORB_AT(__ORBBlit2D__, angle, 21);
ORB_AT(__ORBBlit2D__, flags, 27);
ORB_AT(__ORBBlit2D__, block_x, 32);
ORB_AT(__ORBBlit2D__, own_region, 36);
ORB_AT(__ORBBlit2D__, own_region_y1, 40);
ORB_AT(__ORBBlit2D__, src, 42);
ORB_AT(__ORBBlit2D__, blit_op, 44);
ORB_LAYOUT(sizeof(orb_blit_list) == 28);
ORB_LAYOUT(sizeof(orb_map_slot) == 532);
ORB_LAYOUT(sizeof(orb_fpg) == 16);
ORB_LAYOUT(sizeof(__ORBPalette2D__) == 768);

ORB_LAYOUT(sizeof(orb_constant) == 8);
ORB_LAYOUT(sizeof(orb_function) == 16);
ORB_LAYOUT(sizeof(orb_hook) == 8);
ORB_LAYOUT(sizeof(orb_registration) == 40);
ORB_AT(orb_registration, reg_globals, 4);
ORB_AT(orb_registration, reg_runtime, 9);

ORB_LAYOUT(sizeof(orb_locals) == 4 * 23);
ORB_AT(orb_locals, xgraph, 2);
ORB_AT(orb_locals, size, 13);
ORB_AT(orb_locals, fxintensity, 22);
ORB_LAYOUT(sizeof(orb_process) == 4 * 18);
ORB_AT(orb_process, status, 2);
ORB_AT(orb_process, walk_question, 4);
ORB_AT(orb_process, box_x0, 13);
ORB_AT(orb_process, locals, 17);
ORB_LAYOUT(sizeof(orb_process_node) == 8);
ORB_AT(orb_process_services, proc_first, 1);
ORB_AT(orb_process_services, proc_current, 6);
ORB_AT(orb_process_services, proc_exists, 7);

ORB_LAYOUT(sizeof(orb_device_system) == 4 * 13);
ORB_AT(orb_device_system, window, 3);
ORB_AT(orb_device_system, scroll, 7);
ORB_AT(orb_device_system, desktop_width, 8);
ORB_AT(orb_device_system, vsync, 10);
ORB_AT(orb_device_system, ground, 11);

ORB_LAYOUT(sizeof(orb_runtime) == 4 * 83);
ORB_AT(orb_runtime, rt_processes, 3);
ORB_AT(orb_runtime, rt_unpop_params, 7);
ORB_AT(orb_runtime, rt_param_count, 9);
ORB_AT(orb_runtime, rt_pop_int, 14);
ORB_AT(orb_runtime, rt_pop_string, 18);
ORB_AT(orb_runtime, rt_pop_pointer, 25);
ORB_AT(orb_runtime, rt_peek_string, 36);
ORB_AT(orb_runtime, rt_return, 52);
ORB_AT(orb_runtime, rt_take_return, 57);
ORB_AT(orb_runtime, rt_new_return_string, 64);
ORB_AT(orb_runtime, rt_commit_return_string, 66);
ORB_AT(orb_runtime, rt_signal, 68);
ORB_AT(orb_runtime, rt_fatal, 71);
ORB_AT(orb_runtime, rt_global_offset, 72);
ORB_AT(orb_runtime, rt_exit, 77);
ORB_AT(orb_runtime, rt_device_system, 79);
ORB_AT(orb_runtime, rt_video_hooks, 82);

ORB_LAYOUT(sizeof(orb_device2d) == 4 * 87);
ORB_AT(orb_device2d, regions, 4);
ORB_AT(orb_device2d, VID_SetGFXMode, 9);
ORB_AT(orb_device2d, ForceSurface, 18);
ORB_AT(orb_device2d, ORBGI2D_Blit, 19);
ORB_AT(orb_device2d, ORBGI2D_ClearScreen, 28);
ORB_AT(orb_device2d, GetNumsBlitOnList, 36);
ORB_AT(orb_device2d, GetMAPCode, 38);
ORB_AT(orb_device2d, RegionExists, 45);
ORB_AT(orb_device2d, GetVirtualResolutionYOffset, 59);
ORB_AT(orb_device2d, find_color, 61);
ORB_AT(orb_device2d, set_rgb, 63);
ORB_AT(orb_device2d, init_force_palette, 68);
ORB_AT(orb_device2d, fade_on, 73);
ORB_AT(orb_device2d, zero85, 85);

#undef ORB_AT
#undef ORB_LAYOUT

#ifdef __cplusplus
}
#endif

#endif
