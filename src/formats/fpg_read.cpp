// Reads FPG files, graph libraries. After the markers, little-endian and without padding:
//
//   8    magic
//   8-bit files: 768 bytes palette with 6-bit components, 576 bytes colour ranges
//   graphs until the end of the file, each
//     4    code, 1 to 999
//     4    length: written as 0, ignored
//     D    description, NUL-padded; D is 256, in the old layout 32
//     M    name of its file, NUL-padded; M is 260, in the old layout 12
//     4, 4 width, height
//     4    control-point word: their number N in 12 bits, 0x1000 for an alpha channel
//     4N   control points: x, y, 2 bytes each; x 65535 is a missing point
//     the pixels, rows from the top
#include "formats/map_file.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "boundary/errors.h"
#include "boundary/runtime.h"
#include "formats/adopt_image.h"
#include "surface/conversion.h"
#include "surface/libraries.h"
#include "surface/palette.h"
#include "surface/screen.h"

namespace {

constexpr uint32_t graph_memory = 616; // what a graph counts besides points and pixels

struct library_reader {
  graph_reader in;
  const graph_file_layout *layout;
  __ORBPalette2D__ colours; // of an 8-bit file
  uint32_t checksum;
  bool adopts; // the mode wants the palette, and it isn't adopted yet
};

/// A graph of the file, without its points and pixels.
struct library_entry {
  int32_t code;
  char description[256], name[256];
  uint32_t width, height, flags;
};

enum entry_result {
  entry_read,
  entry_foreign,   // not a graph's code
  entry_none,      // the end of the file
  entry_cut_short, // a graph's code without a whole header
};

/// Opens the file, skips the markers and checks the magic. False, with a fault, when there is
/// nothing to read.
bool open_library_file(library_reader *file, const char *filename, const char *key,
                       library_fault &fault) {
  *file = {};
  switch (open_graph_file(&file->in, filename, key)) {
  case graph_not_opened: fault = {error_library_open}; return false;
  case graph_not_reopened: fault = {error_library_open, true}; return false;
  case graph_opened: break;
  }
  file->layout = find_graph_layout("fpg", file->in.magic);
  if (!file->in.key_fits)
    fault = {error_library_key};
  else if (!file->layout || file->layout->depth > mode.bpp)
    fault = {error_library_format};
  else
    return true;
  rt_file_close(file->in.handle);
  return false;
}

/// The palette of an 8-bit file. False when the file ends before it.
bool read_palette(library_reader *file) {
  if (file->layout->depth != 8) return true;
  if (!read_graph_palette(&file->in, &file->colours)) return false;
  file->checksum = palette_checksum_6bits(&file->colours);
  file->adopts = mode.bpp == 8 && palette;
  return true;
}

/// Adopts the palette in an 8-bit mode: with the first graph that is read, or at the end of a file
/// without graphs. A file that can't be read doesn't change the screen.
void take_palette(library_reader *file) {
  if (file->adopts) adopt_palette(file->colours, file->checksum);
  file->adopts = false;
}

/// A text field of the file; the last byte counts as NUL.
void take_text(char (&text)[256], const uint8_t *field, uint32_t size) {
  const uint32_t taken = std::min<uint32_t>(size, sizeof text) - 1;
  memcpy(text, field, taken);
  text[taken] = '\0';
}

entry_result read_entry(library_reader *file, library_entry *entry) {
  graph_reader *in = &file->in;
  if (rt_file_at_end(in->handle)) return entry_none;
  const uint32_t description_size = file->layout->description_size;
  const uint32_t name_size = file->layout->name_size;
  const uint32_t size = 8 + description_size + name_size + 12;
  uint8_t fields[8 + 256 + 260 + 12];
  const uint32_t taken = take_graph_bytes(in, fields, size);
  if (taken < sizeof entry->code) return entry_none;

  memcpy(&entry->code, fields, sizeof entry->code);
  if (entry->code < 1 || entry->code >= graphs_per_library)
    return taken == size ? entry_foreign : entry_none;
  if (taken < size) return entry_cut_short;
  const uint8_t *at = fields + 8;
  take_text(entry->description, at, description_size);
  at += description_size;
  take_text(entry->name, at, name_size);
  at += name_size;
  memcpy(&entry->width, at, 4);
  memcpy(&entry->height, at + 4, 4);
  memcpy(&entry->flags, at + 8, 4);
  return entry_read;
}

/// Bytes of points and pixels behind an entry.
uint64_t entry_size(const library_reader &file, const library_entry &entry) {
  // Four times the product of two 32-bit sides can wrap even in 64 bits; no stream is that long.
  const uint64_t pixels = uint64_t(entry.width) * entry.height;
  return std::min<uint64_t>(pixels, UINT32_MAX) * (file.layout->depth / 8) +
         4 * (entry.flags & stored_cpoint_mask);
}

/// Points and pixels, as the file has them.
graph_read_result read_surface(library_reader *file, const library_entry &entry,
                               __ORBSurface2D__ *surface) {
  surface->alpha_channel = (entry.flags & stored_alpha_flag) != 0;
  if (const uint32_t count = entry.flags & stored_cpoint_mask) {
    cpoint_record *points;
    int32_t defined;
    const graph_read_result result = read_cpoints(&file->in, count, &points, &defined);
    if (result != graph_read) return result;
    free(surface->cpoints);
    surface->cpoints = reinterpret_cast<uint32_t *>(points);
    surface->has_cpoints = uint32_t(defined);
    surface->cpoint_last = count - 1;
  }
  return read_graph_bytes(&file->in, surface->pixels, surface->byte_size, file->in.cipher)
             ? graph_read
             : graph_cut_short;
}

/// The graph of an entry at the screen's depth and in its palette; or why there is none.
graph_read_result read_graph_surface(library_reader *file, const library_entry &entry,
                                     __ORBSurface2D__ **out) {
  const auto width = int32_t(entry.width), height = int32_t(entry.height);
  if (!surface_size(width, height, file->layout->depth)) return graph_no_memory;
  if (!may_hold_graph_bytes(&file->in, entry_size(*file, entry))) return graph_cut_short;
  __ORBSurface2D__ *surface = ORBGI2D_CreateGFXSurface(width, height, file->layout->depth, 0);
  if (!surface) return graph_no_memory;
  const graph_read_result result = read_surface(file, entry, surface);
  if (result != graph_read) {
    ORBGI2D_DeleteGFXSurface(surface);
    return result;
  }
  take_palette(file);
  if (surface->depth != mode.bpp)
    surface = move_to_screen_depth(surface, &file->colours);
  else if (surface->depth == 8 && palette && palette_forced && palette_crc != file->checksum)
    remap_to_forced_palette(surface);
  *out = surface;
  return surface ? graph_read : graph_no_memory;
}

/// Reads the graph of an entry into its slot, freeing what is there. The message number of what
/// went wrong, or 0.
int32_t read_graph_into(orb_fpg *library, library_reader *file, const library_entry &entry) {
  __ORBSurface2D__ *surface;
  switch (read_graph_surface(file, entry, &surface)) {
  case graph_cut_short: return error_library_format;
  case graph_no_memory: return error_out_of_memory;
  case graph_read: break;
  }
  orb_map_slot &slot = library->slots[entry.code];
  if (slot.surface) {
    release_graph_memory(library, &slot);
    free_graph(library, &slot);
  }
  slot.code = entry.code;
  slot.id = uint32_t(entry.code);
  set_graph_text(slot.description, entry.description);
  set_graph_text(slot.name, entry.name);
  slot.surface = surface;
  const uint32_t points = entry.flags & stored_cpoint_mask;
  count_graph(library, &slot, graph_memory + 12 * points + surface->byte_size);
  return 0;
}

/// Reads all graphs. The message number of what went wrong, or 0.
int32_t read_graphs(orb_fpg *library, library_reader *file) {
  library_entry entry;
  while (true) {
    switch (read_entry(file, &entry)) {
    case entry_none: return 0;
    case entry_cut_short: return error_library_format;
    case entry_foreign:
      // QUIRK: doesn't skip the points and pixels of an entry with a foreign code, but reads them
      // as the next entries.
      break;
    case entry_read:
      if (const int32_t error = read_graph_into(library, file, entry)) return error;
    }
  }
}

/// Looks for a graph and reads it into the library. Its code; 0 when it isn't there; or the
/// negative message number of what went wrong.
int32_t find_graph(orb_fpg *library, library_reader *file, int32_t code) {
  library_entry entry;
  while (true) {
    switch (read_entry(file, &entry)) {
    case entry_none:
    case entry_foreign: return 0;
    case entry_cut_short: return -error_library_format;
    case entry_read: break;
    }
    if (entry.code == code) {
      const int32_t error = read_graph_into(library, file, entry);
      return error ? -error : code;
    }
    if (!skip_graph_bytes(&file->in, entry_size(*file, entry))) return 0;
  }
}

} // namespace

int32_t load_library(const char *filename, const char *key, library_fault &fault) {
  const int32_t number = find_free_library();
  if (number < 0) {
    fault = {error_library_full};
    return -1;
  }
  library_reader file;
  if (!open_library_file(&file, filename, key, fault)) return -1;
  int32_t error = 0;
  if (!open_library(number))
    error = error_out_of_memory;
  else if (!read_palette(&file))
    error = error_library_format;
  else
    error = read_graphs(&fpg[number], &file);
  if (!error) take_palette(&file);
  rt_file_close(file.in.handle);
  if (error) {
    fault = {error};
    return -1;
  }
  mark_library_used(number);
  return number;
}

int32_t load_library_graph(const char *filename, const char *key, int32_t number, int32_t code,
                           library_fault &fault) {
  library_reader file;
  if (!open_library_file(&file, filename, key, fault)) return -1;
  const bool made = number != 0 && !fpg[number].in_use;
  const uint32_t former_memory = fpg[number].memory_usage;
  int32_t found;
  if (made && !open_library(number))
    found = -error_out_of_memory;
  else if (!read_palette(&file))
    found = -error_library_format;
  else
    found = find_graph(&fpg[number], &file, code);
  if (found >= 0) take_palette(&file);
  rt_file_close(file.in.handle);
  if (found < 0) {
    if (made) discard_library(number, former_memory);
    fault = {-found};
    return -1;
  }
  // QUIRK: the library exists from here on, empty, even when the graph isn't in the file.
  if (made) mark_library_used(number);
  return found;
}
