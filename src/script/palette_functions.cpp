// Script functions on the palette. They work in 8-bit modes only. In other modes, and for bad
// arguments, they return the failure value; they report only the errors that each names.
#include <cstring>

#include "boundary/readable.h"
#include "formats/palette_file.h"
#include "script/handlers.h"
#include "script/script_call.h"
#include "surface/palette.h"
#include "surface/screen.h"
#include "video/fades.h"
#include "video/presentation.h"

namespace {

bool palette_in_use() { return mode.bpp == 8 && palette; }

/// Whether first .. first + count - 1 are palette entries; count may be 0.
bool is_range(int32_t first, int32_t count) {
  return first >= 0 && first <= 255 && count >= 0 && count <= 256 - first;
}

/// Makes a palette read from a file the current one; if the colours differ, the picture is faded
/// out first.
/// QUIRK: a palette with the current colours is not marked as loaded.
void take_palette(const palette_in_file &file) {
  if (memcmp(palette, &file.colours, sizeof file.colours) != 0) {
    fade_off();
    set_palette(&file.colours);
    screen_color_rgb = palette->colours[screen_color & 255];
  }
  palette_crc = file.checksum;
}

} // namespace

/// palette_load(file name), load_pal(file name): loads the palette of a palette, library, font,
/// graph or picture file. If it differs from the current one, the picture is faded out first;
/// screen_fade_in shows it in the new colours. 1, or the failure value: after reporting 183 while a
/// palette is forced or 103 for a file that cannot be opened or has no palette; silently for no
/// name.
int32_t ORB_palette_load() {
  const script_call call{"PALETTE_LOAD"};
  const char *filename = rt_pop_string();
  if (!palette_in_use() || !filename) return call.fail();
  if (palette_forced) return call.refuse(error_palette_forced, 1, filename);
  palette_in_file file;
  if (!read_palette_file(filename, &file)) return call.refuse(error_palette_file, 1, filename);
  take_palette(file);
  return call.done(1);
}

/// palette_save(file name): writes the current palette as a palette file. 1, or the failure value:
/// after reporting 123 for a file that cannot be written; silently for no name.
int32_t ORB_palette_save() {
  const script_call call{"PALETTE_SAVE"};
  const char *filename = rt_pop_string();
  if (!palette_in_use() || !filename) return call.fail();
  if (!write_palette_file(filename, *palette)) return call.refuse(error_save, 1, filename);
  return call.done(1);
}

/// palette_force(file name), force_pal(file name): loads a palette as palette_load does, under
/// whose name errors are reported, and forces it on all graphs loaded from now on: their pixels
/// become the indices of the nearest colours. No name, or an empty one, ends forcing. 1, or the
/// result of a failed palette_load; a palette forced earlier then stays forced.
int32_t ORB_palette_force() {
  const script_call call{"PALETTE_FORCE"};
  const char *filename = rt_peek_string();
  if (!filename || !*filename) {
    rt_drop_params(2);
    palette_forced = 0;
    return palette_in_use() ? call.done(1) : call.fail();
  }
  const uint8_t forced_before = palette_forced;
  palette_forced = 0;
  ORB_palette_load();
  const int32_t loaded = rt_take_return();
  palette_forced = loaded == 1 ? 1 : forced_before;
  // Even with unchanged colours, so that the first picture's palette does not replace it.
  if (loaded == 1) palette_loaded = 1;
  return call.done(loaded);
}

/// palette_roll(first, count, step), roll_palette(...): rotates a range of entries by `step` places
/// up, or down for a negative step. 1, or the failure value for a range outside the palette; an
/// empty range does nothing.
int32_t ORB_palette_roll() {
  const script_call call{"PALETTE_ROLL"};
  const auto [first, count, step] = pop_ints<3>();
  if (!palette_in_use() || !is_range(first, count)) return call.fail();
  if (count > 0) {
    const __ORBPalette2D__ old = *palette;
    const int32_t shift = (step % count + count) % count;
    for (int32_t i = 0; i < count; i++)
      palette->colours[first + (i + shift) % count] = old.colours[first + i];
    mark_palette_changed();
  }
  return call.done(1);
}

/// palette_set_color(index, r, g, b), set_color(...): sets an entry, components 0..63; larger ones
/// wrap, negative ones count as positive. 1, or the failure value for an invalid index.
int32_t ORB_palette_set_color() {
  const script_call call{"PALETTE_SET_COLOR"};
  const auto [index, r, g, b] = pop_ints<4>();
  if (!palette_in_use() || !is_range(index, 1)) return call.fail();
  return call.done(device2D.set_color(uint8_t(index), r, g, b));
}

/// palette_set_colors(first, count, ints): sets `count` entries from an array of red, green, blue,
/// each as in palette_set_color. 1, or the failure value for a range outside the palette or an
/// unreadable array.
int32_t ORB_palette_set_colors() {
  const script_call call{"PALETTE_SET_COLORS"};
  const auto [first, count, components] = pop_args<int32_t, int32_t, int32_t *>();
  if (!palette_in_use() || !is_range(first, count) || !components) return call.fail();
  int32_t colours[256][3];
  if (!copy_if_readable(colours, components, size_t(count) * sizeof *colours)) return call.fail();
  for (int32_t i = 0; i < count; i++)
    device2D.set_color(uint8_t(first + i), colours[i][0], colours[i][1], colours[i][2]);
  return call.done(1);
}

/// palette_find_color(r, g, b), find_color(...): the entry nearest to components 0..63; larger ones
/// wrap, negative ones count as positive. Its index 1..254, or the failure value.
int32_t ORB_palette_find_color() {
  const script_call call{"PALETTE_FIND_COLOR"};
  const auto [r, g, b] = pop_ints<3>();
  return palette_in_use() ? call.done(device2D.find_color(r, g, b)) : call.fail();
}
