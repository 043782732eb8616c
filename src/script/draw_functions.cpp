// Script functions that make, change, query and delete draw objects (frame/draw_objects.h).
//
// The id of the object in record i is 2i + 1; functions that change objects take -1 for all of
// them. Unless stated otherwise, a function returns how many objects it changed, 0 while there are
// none, or the failure value after reporting an invalid id (175, with the id) or one without an
// object (175, with its index).
#include <algorithm>
#include <cstdlib>

#include "frame/draw_objects.h"
#include "script/checks.h"
#include "script/handlers.h"
#include "script/script_call.h"
#include "surface/regions.h"
#include "surface/screen.h"

namespace {

constexpr int32_t all_drawing = -1;

int32_t id_of(int32_t index) { return 2 * index + 1; }
int32_t index_of(int32_t id) { return id >> 1; }

/// Whether the id has a record, in use or not.
bool is_id(int32_t id) { return id > 0 && id % 2 != 0 && id < 2 * max_draw; }

// ---- Checks of arguments; each reports once -----------------------------------------------------

bool check_id(const script_call &call, int32_t id) {
  if (is_id(id)) return true;
  call.bad(error_draw_id, 1, id);
  return false;
}

bool check_id_or_all(const script_call &call, int32_t id) {
  return id == all_drawing || check_id(call, id);
}

/// The object of a checked id, or null.
orb_draw *check_in_use(const script_call &call, int32_t id) {
  orb_draw &draw = draws[index_of(id)];
  if (!draw.in_use) return call.bad(error_draw_id, 1, index_of(id));
  return &draw;
}

/// 0..15 in 8-bit modes, else reports 174; 0..255 in deeper modes, else fails silently.
bool check_alpha(const script_call &call, int32_t alpha, int32_t position) {
  const int32_t most = mode.bpp == 8 ? 15 : 255;
  if (alpha >= 0 && alpha <= most) return true;
  if (mode.bpp == 8) call.bad(error_draw_alpha, position, alpha);
  return false;
}

bool check_region(const script_call &call, int32_t region, int32_t position) {
  if (RegionExists(region)) return true;
  call.bad(error_region, position, region);
  return false;
}

// ---- Changes ------------------------------------------------------------------------------------

/// Applies `change` to the object of a checked id, or to all; counts those for which it returns
/// true.
template <typename Change>
int32_t change_draws(const script_call &call, int32_t id, Change change) {
  if (draws_painted == 0) return call.done(0);
  if (id != all_drawing) {
    orb_draw *draw = check_in_use(call, id);
    return draw ? call.done(change(*draw)) : call.fail();
  }
  int32_t changed = 0;
  for (int32_t i = 0; i < max_draw; ++i)
    if (draws[i].in_use) changed += change(draws[i]);
  return call.done(changed);
}

/// The same for locked objects only: unlocked ones follow the script's globals.
template <typename Change>
int32_t change_locked_draws(const script_call &call, int32_t id, Change change) {
  return change_draws(call, id, [&](orb_draw &draw) {
    if (draw.locked) change(draw);
    return draw.locked;
  });
}

int32_t set_locked(const script_call &call, bool lock) {
  const int32_t id = rt_pop_int();
  if (!check_id_or_all(call, id)) return call.fail();
  return change_draws(call, id, [lock](orb_draw &draw) {
    draw.locked = lock;
    // QUIRK: objects already in that state count again.
    draws_locked += lock ? 1 : -1;
    return true;
  });
}

} // namespace

/// draw_new(type, colour, alpha, region, x0, y0, x1, y1), draw(...): a new object between two
/// corners in any order; type 1 is a line, 2 a rectangle, 3 a filled one, 4 an ellipse, 5 a filled
/// one. Alpha is 0..255, in 8-bit modes 0..15. Its id, or the failure value: after reporting a bad
/// type (173), colour (154) or alpha (174) of an 8-bit mode, region (108) or a full list (172);
/// silently for a bad colour or alpha of a deeper mode.
int32_t ORB_draw_new() {
  const script_call call{"DRAW_NEW"};
  auto [type, colour, alpha, region, x0, y0, x1, y1] =
      pop_args<int32_t, uint32_t, int32_t, int32_t, int32_t, int32_t, int32_t, int32_t>();
  if (type < draw_type_line || type > draw_type_filled_ellipse)
    return call.refuse(error_draw_type, 1, type);
  if (!check_colour(call, colour, 2) || !check_alpha(call, alpha, 3) ||
      !check_region(call, region, 4))
    return call.fail();
  const int32_t index = take_draw();
  if (index < 0) return call.refuse(error_draw_list_full, 1, type);
  orb_draw &draw = draws[index];
  draw.in_use = 1;
  draw.visible = uint8_t(*_draw_visible_);
  draw.type = type;
  draw.colour = colour;
  draw.alpha = alpha;
  draw.region = region;
  draw.z = *_draw_z_;
  draw.x0 = x0;
  draw.y0 = y0;
  draw.x1 = x1;
  draw.y1 = y1;
  draw.destination_file = *_draw_destination_file_;
  draw.destination_graph = *_draw_destination_graph_;
  draw.destination = screen;
  ++draws_painted;
  return call.done(id_of(index));
}

/// draw_delete(id), delete_draw(id): deletes one object or all, except fixed ones.
int32_t ORB_draw_delete() {
  const script_call call{"DRAW_DELETE"};
  const int32_t id = rt_pop_int();
  if (!check_id_or_all(call, id)) return call.fail();
  return change_draws(call, id, [](orb_draw &draw) {
    if (draw.fixed) return false;
    release_draw(int32_t(&draw - draws));
    --draws_painted;
    // QUIRK: every deleted object lowers both counts, fixed or locked or not.
    --draws_fixed;
    --draws_locked;
    return true;
  });
}

/// draw_fix(id, on): protects objects from draw_delete (1) or stops protecting them (0); any other
/// `on` fails silently. Counts the objects whose state changed.
int32_t ORB_draw_fix() {
  const script_call call{"DRAW_FIX"};
  auto [id, on] = pop_ints<2>();
  if (!check_id_or_all(call, id) || on < 0 || on > 1) return call.fail();
  return change_draws(call, id, [on = on](orb_draw &draw) {
    if (draw.fixed == on) return false;
    draw.fixed = uint8_t(on);
    draws_fixed += on ? 1 : -1;
    return true;
  });
}

/// draw_lock(id): gives objects their own depth, destination and visibility instead of the script's
/// globals: at first the depth and visibility they were made with, and the screen. Counts objects
/// that were locked already, too.
int32_t ORB_draw_lock() { return set_locked({"DRAW_LOCK"}, true); }
/// draw_unlock(id): undoes draw_lock.
int32_t ORB_draw_unlock() { return set_locked({"DRAW_UNLOCK"}, false); }

/// draw_move(id [, colour, alpha], x0, y0, x1, y1), move_draw(...): sets the corners, and colour
/// and alpha if given. Does not take -1. 1, or 0 while there are no objects.
int32_t ORB_draw_move() {
  const script_call call{"DRAW_MOVE"};
  // QUIRK: a bad alpha is reported under the older name.
  const script_call other_name{"MOVE_DRAW"};
  const bool with_look = rt_param_count() >= 7;
  auto [x0, y0, x1, y1] = pop_ints<4>();
  // QUIRK: without an alpha, the alpha of the last call that had one is checked again, which may
  // fail in another mode.
  int32_t alpha = draws_moved_alpha;
  uint32_t colour = 0;
  if (with_look) {
    alpha = rt_pop_int();
    colour = rt_pop_uint();
  }
  const int32_t id = rt_pop_int();
  if (!check_id(call, id) || !check_colour(call, colour, 2) || !check_alpha(other_name, alpha, 3))
    return call.fail();
  if (draws_painted == 0) return call.done(0);
  orb_draw *draw = check_in_use(other_name, id);
  if (!draw) return call.fail();
  if (with_look) {
    draw->colour = colour;
    draw->alpha = draws_moved_alpha = alpha;
  }
  draw->x0 = x0;
  draw->y0 = y0;
  draw->x1 = x1;
  draw->y1 = y1;
  return call.done(1);
}

// ---- Properties of locked objects ---------------------------------------------------------------

/// draw_set_z(id, z): sets the depth.
int32_t ORB_draw_set_z() {
  const script_call call{"DRAW_SET_Z"};
  auto [id, z] = pop_ints<2>();
  if (!check_id_or_all(call, id)) return call.fail();
  return change_locked_draws(call, id, [z = z](orb_draw &draw) { draw.z = z; });
}

/// draw_set_region(id, region): sets the clip region; reports 108 for an undefined one.
int32_t ORB_draw_set_region() {
  const script_call call{"DRAW_SET_REGION"};
  auto [id, region] = pop_ints<2>();
  if (!check_id_or_all(call, id) || !check_region(call, region, 2)) return call.fail();
  return change_locked_draws(call, id, [region = region](orb_draw &draw) { draw.region = region; });
}

/// draw_set_alpha(id, alpha): sets the alpha, checked as by draw_new.
int32_t ORB_draw_set_alpha() {
  const script_call call{"DRAW_SET_ALPHA"};
  auto [id, alpha] = pop_ints<2>();
  if (!check_id_or_all(call, id) || !check_alpha(call, alpha, 2)) return call.fail();
  return change_locked_draws(call, id, [alpha = alpha](orb_draw &draw) { draw.alpha = alpha; });
}

/// draw_set_color(id, colour): sets the colour, checked as by draw_new.
int32_t ORB_draw_set_color() {
  const script_call call{"DRAW_SET_COLOR"};
  auto [id, colour] = pop_args<int32_t, uint32_t>();
  if (!check_id_or_all(call, id) || !check_colour(call, colour, 2)) return call.fail();
  return change_locked_draws(call, id, [colour = colour](orb_draw &draw) { draw.colour = colour; });
}

/// draw_set_visible(id, visible): 0 hides the object.
int32_t ORB_draw_set_visible() {
  const script_call call{"DRAW_SET_VISIBLE"};
  auto [id, visible] = pop_ints<2>();
  if (!check_id_or_all(call, id)) return call.fail();
  return change_locked_draws(call, id,
                             [on = uint8_t(visible)](orb_draw &draw) { draw.visible = on; });
}

/// draw_set_destination(id, file, graph): sets the graph to draw on; (0, 0) is the screen. Any
/// other graph must be loaded (109, 110, 111, 121); once it is unloaded the object is not drawn.
int32_t ORB_draw_set_destination() {
  const script_call call{"DRAW_SET_DESTINATION"};
  auto [id, file, graph] = pop_ints<3>();
  if (!check_id_or_all(call, id)) return call.fail();
  __ORBSurface2D__ *destination = screen;
  if (file != 0 || graph != 0) {
    const orb_map_slot *slot = check_graph(call, file, graph, 2);
    if (!slot) return call.fail();
    destination = slot->surface;
  }
  return change_locked_draws(call, id, [=, file = file, graph = graph](orb_draw &draw) {
    draw.destination_file = file;
    draw.destination_graph = graph;
    draw.destination = destination;
    draw.placed = true;
  });
}

// ---- Queries about one object -------------------------------------------------------------------

namespace {

/// Ends a query about the object of an id; -1 is not valid here.
template <typename Answer> int32_t ask_draw(const script_call &call, Answer answer) {
  const int32_t id = rt_pop_int();
  const orb_draw *draw = check_id(call, id) ? check_in_use(call, id) : nullptr;
  return draw ? call.done(answer(*draw)) : call.fail();
}

template <typename Field> int32_t get_field(const script_call &call, Field orb_draw::*field) {
  return ask_draw(call, [field](const orb_draw &draw) { return int32_t(draw.*field); });
}

/// Pixels from one end to the other, clamped to INT32_MAX.
int32_t extent(int32_t from, int32_t to) {
  return int32_t(std::min<int64_t>(llabs(int64_t(to) - from) + 1, INT32_MAX));
}

} // namespace

/// draw_exists(id): 1 or 0, for any value.
int32_t ORB_draw_exists() {
  const int32_t id = rt_pop_int();
  return rt_return(is_id(id) && draws[index_of(id)].in_use);
}

int32_t ORB_draw_get_type() { return get_field({"DRAW_GET_TYPE"}, &orb_draw::type); }
int32_t ORB_draw_get_color() { return get_field({"DRAW_GET_COLOR"}, &orb_draw::colour); }
int32_t ORB_draw_get_alpha() { return get_field({"DRAW_GET_ALPHA"}, &orb_draw::alpha); }
int32_t ORB_draw_get_region() { return get_field({"DRAW_GET_REGION"}, &orb_draw::region); }
/// draw_get_z(id): its own depth, used only while it is locked.
int32_t ORB_draw_get_z() { return get_field({"DRAW_GET_Z"}, &orb_draw::z); }
/// draw_get_visible(id): its own visibility, used only while it is locked.
int32_t ORB_draw_get_visible() { return get_field({"DRAW_GET_VISIBLE"}, &orb_draw::visible); }
int32_t ORB_draw_get_x0() { return get_field({"DRAW_GET_X0"}, &orb_draw::x0); }
int32_t ORB_draw_get_y0() { return get_field({"DRAW_GET_Y0"}, &orb_draw::y0); }
int32_t ORB_draw_get_x1() { return get_field({"DRAW_GET_X1"}, &orb_draw::x1); }
int32_t ORB_draw_get_y1() { return get_field({"DRAW_GET_Y1"}, &orb_draw::y1); }
int32_t ORB_draw_is_fixed() { return get_field({"DRAW_IS_FIXED"}, &orb_draw::fixed); }
int32_t ORB_draw_is_locked() { return get_field({"DRAW_IS_LOCKED"}, &orb_draw::locked); }

/// draw_get_width(id): pixels from x0 to x1, both included.
int32_t ORB_draw_get_width() {
  return ask_draw({"DRAW_GET_WIDTH"},
                  [](const orb_draw &draw) { return extent(draw.x0, draw.x1); });
}
/// draw_get_height(id): pixels from y0 to y1, both included.
int32_t ORB_draw_get_height() {
  return ask_draw({"DRAW_GET_HEIGHT"},
                  [](const orb_draw &draw) { return extent(draw.y0, draw.y1); });
}

/// draw_get_box(id, &x0, &y0, &x1, &y1): the corners as given; null pointers are skipped. 1.
int32_t ORB_draw_get_box() {
  const script_call call{"DRAW_GET_BOX"};
  auto [x0, y0, x1, y1] = pop_args<int32_t *, int32_t *, int32_t *, int32_t *>();
  return ask_draw(call, [=, x0 = x0, y0 = y0, x1 = x1, y1 = y1](const orb_draw &draw) {
    if (x0) *x0 = draw.x0;
    if (y0) *y0 = draw.y0;
    if (x1) *x1 = draw.x1;
    if (y1) *y1 = draw.y1;
    return 1;
  });
}

// ---- Counts -------------------------------------------------------------------------------------

/// graphiclib_get_drawspainted(): draw objects that exist.
int32_t ORB_graphiclib_get_drawspainted() { return rt_return(draws_painted); }
/// graphiclib_get_drawsfixed(): those that are fixed, as draw_fix and draw_delete count them.
int32_t ORB_graphiclib_get_drawsfixed() { return rt_return(draws_fixed); }
/// graphiclib_get_drawslocked(): those that are locked, as draw_lock, draw_unlock and draw_delete
/// count them.
int32_t ORB_graphiclib_get_drawslocked() { return rt_return(draws_locked); }
