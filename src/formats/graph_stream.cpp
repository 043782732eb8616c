// The streams of MAP and FPG files: markers, and checked reads and writes.
#include "formats/map_file.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "boundary/runtime.h"
#include "formats/stored_palette.h"
#include "surface/palette.h"

namespace {

constexpr graph_file_layout layouts[] = {
    {0x08, 8, 256, 260},
    {0x0A, 8, 32, 12}, // old; read only
    {0x16, 16, 256, 260},
    {0x32, 32, 256, 260},
};

constexpr uint8_t compressed_marker[8] = {'g', 'z', '!', 0x1A, 0x0D, 0x0A, 0xFF, 0};
constexpr uint8_t enciphered_marker[8] = {'g', 'e', '!', 0x1A, 0x0D, 0x0A, 0xFF, 0};
/// Follows the marker, enciphered, so that readers can check the key.
constexpr uint8_t cipher_check[16] = {'g', 'e', '!', 'e',  'n',  'c',  'r',  'y',
                                      'p', 't', '7', 0x1A, 0x0D, 0x0A, 0xFF, 0};

/// Pictures below this size are allocated without looking for their last byte.
constexpr uint64_t trusted_size = 1u << 20;

/// Reopens the file through the host's decompressor if it starts like a compressed one, else
/// rewinds it.
graph_open_result pass_compressed_marker(graph_reader *in, const char *filename, const char *key) {
  // The host keeps eight bytes of its own before the marker, and they come in two halves.
  uint8_t bytes[8];
  if (read_graph_bytes(in, bytes, 4) && read_graph_bytes(in, bytes, 4) &&
      read_graph_bytes(in, bytes, 8) && memcmp(bytes, compressed_marker, sizeof bytes) == 0) {
    rt_file_close(in->handle);
    in->handle = rt_file_open(filename, ORB_OPEN_READ_COMPRESSED, key);
    if (!in->handle) return graph_not_reopened;
    in->compressed = true;
    read_graph_bytes(in, bytes, 8);
  } else if (rt_file_seek(in->handle, 0, SEEK_SET) != 0) {
    in->left = 0; // the next bytes are not the start of the file
    return graph_opened;
  }
  in->left = INT32_MAX;
  return graph_opened;
}

/// Reads the magic, or zeros.
void read_magic(graph_reader *in) {
  if (!read_graph_bytes(in, in->magic, sizeof in->magic)) memset(in->magic, 0, sizeof in->magic);
}

void pass_enciphered_marker(graph_reader *in, const char *key) {
  in->enciphered = true;
  in->cipher = key && *key;
  uint8_t bytes[sizeof cipher_check];
  const bool plain = read_graph_bytes(in, bytes, sizeof bytes, 1) &&
                     memcmp(bytes, cipher_check, sizeof bytes) == 0;
  // QUIRK: only an empty key is checked against the 16 bytes. With a wrong key noise is loaded.
  in->key_fits = key && (*key || plain);
  read_magic(in);
}

} // namespace

const graph_file_layout *find_graph_layout(const char (&letters)[4], const uint8_t (&magic)[8]) {
  if (memcmp(magic, letters, 3) != 0) return nullptr;
  if (magic[3] != 0x1A || magic[4] != 0x0D || magic[6] != 0) return nullptr;
  for (const graph_file_layout &layout : layouts)
    if (layout.depth_byte == magic[5]) return &layout;
  return nullptr;
}

void make_graph_magic(uint8_t (&magic)[8], const char (&letters)[4], int32_t depth) {
  const uint8_t depth_byte = depth == 16 ? 0x16 : depth == 32 ? 0x32 : 0x08;
  const uint8_t bytes[8] = {
      uint8_t(letters[0]), uint8_t(letters[1]), uint8_t(letters[2]), 0x1A, 0x0D, depth_byte, 0, 0};
  memcpy(magic, bytes, sizeof magic);
}

// ---- Reading -----------------------------------------------------------------------------------

graph_open_result open_graph_file(graph_reader *in, const char *filename, const char *key) {
  *in = {};
  in->left = INT32_MAX;
  in->key_fits = true;
  in->handle = rt_file_open(filename, ORB_OPEN_READ, key);
  if (!in->handle) return graph_not_opened;
  const graph_open_result result = pass_compressed_marker(in, filename, key);
  if (result != graph_opened) return result;
  read_magic(in);
  if (memcmp(in->magic, enciphered_marker, sizeof in->magic) == 0) pass_enciphered_marker(in, key);
  return graph_opened;
}

uint32_t take_graph_bytes(graph_reader *in, void *to, uint32_t size, int32_t cipher) {
  if (size > uint32_t(in->left)) return 0;
  const int32_t taken = rt_file_read_all(to, int32_t(size), cipher, in->handle);
  in->left -= taken;
  return uint32_t(taken);
}

bool read_graph_bytes(graph_reader *in, void *to, uint32_t size, int32_t cipher) {
  return take_graph_bytes(in, to, size, cipher) == size;
}

bool skip_graph_bytes(graph_reader *in, uint64_t size) {
  if (size > uint64_t(in->left)) return false;
  if (size == 0) return true;
  if (rt_file_seek(in->handle, int32_t(size), SEEK_CUR) == 0) {
    in->left -= int32_t(size);
    return true;
  }
  uint8_t passed[4096];
  for (auto rest = uint32_t(size); rest > 0;) {
    const uint32_t part = std::min<uint32_t>(rest, sizeof passed);
    if (!read_graph_bytes(in, passed, part)) return false;
    rest -= part;
  }
  return true;
}

bool may_hold_graph_bytes(graph_reader *in, uint64_t size) {
  if (size > uint64_t(in->left)) return false;
  if (size < trusted_size || in->compressed) return true;
  const auto last = int32_t(size - 1);
  // A host that can't seek may still deliver the bytes.
  if (rt_file_seek(in->handle, last, SEEK_CUR) != 0) return true;
  uint8_t byte;
  const int32_t read = rt_file_read(&byte, 1, 0, in->handle);
  return rt_file_seek(in->handle, -last - read, SEEK_CUR) == 0 && read == 1;
}

bool read_graph_palette(graph_reader *in, __ORBPalette2D__ *out) {
  stored_palette stored;
  if (!read_graph_bytes(in, &stored, sizeof stored)) return false;
  *out = restore_palette(stored.colours);
  return true;
}

graph_read_result read_cpoints(graph_reader *in, uint32_t count, cpoint_record **out,
                               int32_t *defined) {
  uint16_t stored[stored_cpoint_mask][2];
  if (!read_graph_bytes(in, stored, count * sizeof *stored)) return graph_cut_short;
  auto *points = static_cast<cpoint_record *>(malloc(count * sizeof(cpoint_record)));
  if (!points) return graph_no_memory;
  *defined = 0;
  for (uint32_t i = 0; i < count; i++) {
    // A point is missing by its x; its y may be anything, and is kept.
    points[i] = {stored[i][0], stored[i][1], stored[i][0] < unset_coordinate};
    *defined += int32_t(points[i].defined);
  }
  *out = points;
  return graph_read;
}

// ---- Writing -----------------------------------------------------------------------------------

bool create_graph_file(graph_writer *out, const char *filename, bool compressed, const char *key) {
  const bool enciphered = key && *key;
  void *handle =
      rt_file_open(filename, compressed ? ORB_OPEN_WRITE_COMPRESSED : ORB_OPEN_WRITE, key);
  *out = {handle, enciphered, handle != nullptr};
  if (!handle) return false;
  if (compressed) write_graph_bytes(out, compressed_marker, sizeof compressed_marker);
  if (enciphered) {
    write_graph_bytes(out, enciphered_marker, sizeof enciphered_marker);
    write_graph_bytes(out, cipher_check, sizeof cipher_check, 1);
  }
  return true;
}

void write_graph_bytes(graph_writer *out, const void *from, uint32_t size, int32_t cipher) {
  const auto wanted = int32_t(size); // pieces of a surface at most
  out->good = out->good && rt_file_write_all(from, wanted, cipher, out->handle) == wanted;
}

void write_graph_palette(graph_writer *out) {
  static const __ORBPalette2D__ black{};
  const stored_palette stored = store_palette(palette ? *palette : black);
  write_graph_bytes(out, &stored, sizeof stored);
}

bool close_graph_file(graph_writer *out) {
  rt_file_close(out->handle);
  return out->good;
}

uint32_t stored_cpoints(const __ORBSurface2D__ &surface) {
  return surface.has_cpoints ? std::min(surface.cpoint_last, stored_cpoint_mask - 1) + 1 : 0;
}

uint32_t cpoint_word(const __ORBSurface2D__ &surface) {
  return stored_cpoints(surface) | (surface.alpha_channel ? stored_alpha_flag : 0);
}

uint32_t pack_cpoints(const __ORBSurface2D__ &surface, uint8_t *to) {
  const uint32_t count = stored_cpoints(surface);
  for (uint32_t i = 0; i < count; i++) {
    const uint32_t *point = surface.cpoints + 3 * i;
    const uint16_t stored[2] = {uint16_t(point[0]), uint16_t(point[1])};
    memcpy(to + 4 * i, stored, sizeof stored);
  }
  return 4 * count;
}
