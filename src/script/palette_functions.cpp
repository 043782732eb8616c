// Script functions on the palette. They work in 8-bit modes only; in others, as for bad arguments,
// they return the failure value and nothing is reported but what each says.
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

bool palette_in_use() {
  return mode.bpp == 8 && palette;
}

/// Whether first .. first + count - 1 are palette entries; count may be 0.
bool is_range(int32_t first, int32_t count) {
  return first >= 0 && first <= 255 && count >= 0 && count <= 256 - first;
}

/// Puts a palette read from a file into force. One that is in force already changes nothing to be
/// seen, so the picture isn't faded out for it.
/// QUIRK: marking the palette as loaded in either case would look more natural. One that looks like
/// the palette in force leaves that mark alone, intentionally.
void take_palette(const palette_in_file &file) {
  if (memcmp(palette, &file.colours, sizeof file.colours) != 0) {
    fade_off();
    set_palette(&file.colours);
    screen_color_rgb = palette->colours[screen_color & 255];
  }
  palette_crc = file.checksum;
}

} // namespace

/// palette_load(file name), load_pal(file name): the palette of a palette, library, font or graph
/// file or of a picture. A palette that differs from the one in force fades the picture out first;
/// screen_fade_in brings it back in the new colours. 1, or the failure value: after reporting 183
/// while a palette is forced or 103 for a file that can't be opened or has no palette; silently for
/// no name.
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

/// palette_save(file name): writes the palette in force as a palette file. 1, or the failure value:
/// after reporting 123 for a file that can't be written; silently for no name.
int32_t ORB_palette_save() {
  const script_call call{"PALETTE_SAVE"};
  const char *filename = rt_pop_string();
  if (!palette_in_use() || !filename) return call.fail();
  if (!write_palette_file(filename, *palette)) return call.refuse(error_save, 1, filename);
  return call.done(1);
}

/// palette_force(file name), force_pal(file name): loads a palette as palette_load does, under
/// whose name mistakes are reported, and forces it on all graphs loaded from now on: their pixels
/// become the indices of the nearest colours. No name, or an empty one, ends that. 1, or what
/// palette_load returned; a palette forced before then stays forced.
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
  // Even one that looks like the palette in force must not give way to the first picture's.
  if (loaded == 1) palette_loaded = 1;
  return call.done(loaded);
}

/// palette_roll(first, count, step), roll_palette(...): turns a range of entries: each goes `step`
/// places up, or down for a negative step, around the end of the range. 1, or the failure value for
/// a range that isn't within the palette; a range of none does nothing.
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

/// palette_set_color(index, r, g, b), set_color(...): one entry, components 0..63; larger ones
/// wrap, negative ones count as positive. 1, or the failure value for an index that is none.
int32_t ORB_palette_set_color() {
  const script_call call{"PALETTE_SET_COLOR"};
  const auto [index, r, g, b] = pop_ints<4>();
  if (!palette_in_use() || !is_range(index, 1)) return call.fail();
  return call.done(device2D.set_color(uint8_t(index), r, g, b));
}

/// palette_set_colors(first, count, ints): `count` entries from an array of red, green, blue, each
/// as in palette_set_color. 1, or the failure value for a range that isn't within the palette or an
/// array that can't be read.
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
