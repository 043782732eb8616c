// The engine's own files: MAP, a single graph, and FPG, a library of graphs. What both share, and
// the front door of their readers and writers.
//
// Both come through streams of the host, which may compress or encipher them. Markers before the
// magic say so:
//   "gz!" ...            the rest is compressed: reopen the file in the host's compressed mode
//   "ge!" ... + 16 bytes the pixels, and these 16 bytes, go through the host's cipher
// Layouts stand with the readers (map_read.cpp, fpg_read.cpp).
#pragma once

#include "surface/surface.h"

/// What the seven bytes of a magic say: the letters "map" or "fpg", 0x1A, 0x0D, the depth byte, 0.
/// QUIRK: 16 and 32 bits are 0x16 and 0x32, decimal digits written as hexadecimal ones.
struct graph_file_layout {
  uint8_t depth_byte;
  uint8_t depth;
  uint16_t description_size;
  uint16_t name_size; // libraries only
};
/// The layout of a file with that magic, or null.
const graph_file_layout *find_graph_layout(const char (&letters)[4], const uint8_t (&magic)[8]);
/// The magic of a file of that depth; every depth but 16 and 32 counts as 8.
void make_graph_magic(uint8_t (&magic)[8], const char (&letters)[4], int32_t depth);

/// In the control-point word of a graph: the number of records, and a flag.
inline constexpr uint32_t stored_cpoint_mask = 0xFFF, stored_alpha_flag = 0x1000;

// ---- Reading -----------------------------------------------------------------------------------

/// A file behind its markers and its magic.
struct graph_reader {
  void *handle;
  uint8_t magic[8];
  bool compressed, enciphered;
  bool key_fits;  // enciphered files: the key, or its absence, is one that may be tried
  int32_t cipher; // the cipher flag for pixels
  /// Bytes that may still come. Offsets in streams are ints; a host that delivers more than they
  /// can tell never ends.
  int32_t left;
};

enum graph_open_result { graph_opened, graph_not_opened, graph_not_reopened };
/// Opens a file and passes its markers. `magic` is zero when the file ends before it. Judging the
/// key is left to the caller. A file that isn't opened has no handle to close.
graph_open_result open_graph_file(graph_reader *in, const char *filename, const char *key);
/// Reads `size` bytes, however small the pieces in which the host delivers them, or what is left
/// until the end of the stream; returns how many.
uint32_t take_graph_bytes(graph_reader *in, void *to, uint32_t size, int32_t cipher = 0);
/// Reads exactly `size` bytes; false when the stream ends before that.
bool read_graph_bytes(graph_reader *in, void *to, uint32_t size, int32_t cipher = 0);
/// Passes over `size` bytes, by seeking or else by reading. False when there can't be as many.
bool skip_graph_bytes(graph_reader *in, uint64_t size);
/// False when the stream certainly ends within the next `size` bytes. Asked before memory is taken
/// for a picture, so that a small file can't claim a huge one. Only big pictures in plain streams
/// are looked into, by seeking to their last byte and back: a compressed stream would have to be
/// decompressed twice.
bool may_hold_graph_bytes(graph_reader *in, uint64_t size);

/// A palette as stored in 8-bit files, with the block of colour ranges after it.
bool read_graph_palette(graph_reader *in, __ORBPalette2D__ *out);

enum graph_read_result { graph_read, graph_cut_short, graph_no_memory };
/// Reads `count` (1 to 4095) control points into a new array; missing ones are in it, not defined
/// and not counted.
graph_read_result read_cpoints(graph_reader *in, uint32_t count, cpoint_record **out,
                               int32_t *defined);

// ---- Writing -----------------------------------------------------------------------------------

struct graph_writer {
  void *handle;
  int32_t cipher; // the cipher flag for pixels
  bool good;      // everything was written so far
};
/// Creates a file and writes its markers; a key that is null or empty enciphers nothing. False when
/// it can't be created, and then there is nothing to close.
bool create_graph_file(graph_writer *out, const char *filename, bool compressed, const char *key);
/// Writes in as many pieces as the host accepts; clears `good` when it accepts no more.
void write_graph_bytes(graph_writer *out, const void *from, uint32_t size, int32_t cipher = 0);
/// The palette in force and the colour ranges, as 8-bit files have them; black without a palette.
void write_graph_palette(graph_writer *out);
/// Closes the file. Whether all of it was written.
bool close_graph_file(graph_writer *out);

/// How many control points of a surface are written: none when none is defined, else all up to the
/// highest, 4095 at most.
uint32_t stored_cpoints(const __ORBSurface2D__ &surface);
/// The word that announces them, with the alpha flag.
uint32_t cpoint_word(const __ORBSurface2D__ &surface);
/// Packs x and y of each record to 4 bytes; returns their bytes.
/// QUIRK: undefined points are written with their coordinates. Deleted points and gaps hold
/// unset_coordinate and are read back as missing; point 0 holds the centre and is read as defined.
uint32_t pack_cpoints(const __ORBSurface2D__ &surface, uint8_t *to);

// ---- Single graphs -----------------------------------------------------------------------------

// What ORB_SaveMAP writes besides image_w, image_h, image_bpp, image_id and image_desc. Set by
// describe_graph; the surface is borrowed.
extern uint32_t image_flags; // the control-point word
extern const __ORBSurface2D__ *image_surface;

/// Sets the globals that ORB_SaveMAP reads from a graph, at the depth of the video mode.
void describe_graph(const orb_map_slot &slot);

/// Whether the file is a MAP file. Doesn't check the key.
int32_t ORB_CheckMAPHeader(const char *filename, const char *key);
/// Reads a graph into the image globals. image_error is 143 for a file that can't be opened, 105 if
/// it can't be opened again as a compressed one, 194 without a usable key, 144 for one that isn't a
/// MAP file, is deeper than the screen or ends too early, 100 without memory or for a size that no
/// surface can have.
int32_t ORB_LoadMAP(const char *filename, const char *key);
/// Writes what describe_graph has set: plain, or compressed from `compression` 1 on. 1, or 0 when
/// the file can't be written whole, or the surface isn't of depth image_bpp.
int32_t ORB_SaveMAP(const char *filename, int32_t compression, const char *key);

// ---- Libraries ---------------------------------------------------------------------------------

/// Why a library isn't read: the message number, and whether that is 105 because a compressed file
/// can't be opened again.
struct library_fault {
  int32_t error = 0;
  bool reopening = false;
};

/// Loads a library under a new number. The number, or -1 with a fault: 104, 105, 193, 106 (also for
/// a file that ends within a graph) or 100; the graphs read until then stay, under a number that is
/// not in use.
int32_t load_library(const char *filename, const char *key, library_fault &fault);
/// Loads one graph of a file into a library. Its code; 0 when it isn't in the file; -1 with a
/// fault, 105, 193, 106 or 100, and then the registry is as it was.
int32_t load_library_graph(const char *filename, const char *key, int32_t file, int32_t code,
                           library_fault &fault);
/// Writes the graphs 1 to 999 at the depth of the video mode. False when the file can't be written
/// whole, or a graph has another depth.
bool save_library(const orb_fpg &library, const char *filename, bool compressed, const char *key);
