// Script functions that put graphs on the ground and the screen, copy from them, and set the screen
// colour.
#include <algorithm>
#include <random>

#include "blit/blit.h"
#include "blit/blit_list.h"
#include "call_table.h"
#include "frame/draw_frame.h"
#include "frame/draw_objects.h"
#include "frame/process_scan.h"
#include "graphics_fixture.h"
#include "mode_fixture.h"
#include "raster/pixels.h"
#include "script/handlers.h"
#include "surface/fill.h"
#include "surface/nearest_colour.h"
#include "video/presentation.h"

namespace {

struct GroundAndScreen : graphics_test {
  std::mt19937 random{72};
  int32_t code = 0;

  GroundAndScreen() {
    graphics2D_blitlist = CreateBlitList("GRAPHICS2D", 4, 4);
    host.call(ORB_region_define, 3, 5, 6, 40, 30);
    code = picture(13, 9);
  }
  ~GroundAndScreen() override {
    num_framezones = 0;
    complete_frame = 0;
    screen_color_set = 0;
    screen_color = 0;
  }

  int32_t any(int32_t low, int32_t high) {
    return low + int32_t(random() % uint32_t(high - low + 1));
  }

  /// A graph of random pixels, some transparent, with a random pivot.
  int32_t picture(int32_t width, int32_t height) {
    const int32_t made =
        host.call(ORB_map_new, width, height, any(0, width - 1), any(0, height - 1), 0);
    scribble(slot(made).surface);
    return made;
  }
  void scribble(__ORBSurface2D__ *surface) {
    for (uint32_t y = 0; y < surface->height; y++)
      for (uint32_t x = 0; x < surface->width; x++)
        draw_pixel(surface, int32_t(x), int32_t(y), random() % 4 ? uint32_t(random()) : 0, 0);
  }
  static file_bytes pixels_of(const __ORBSurface2D__ *surface) {
    const auto *bytes = static_cast<const uint8_t *>(surface->pixels);
    return {bytes, bytes + surface->byte_size};
  }
  /// Ground and screen hold the same pixels, and the list is empty.
  void begin() {
    scribble(ground);
    memcpy(screen->pixels, ground->pixels, ground->byte_size);
    ground_puting = 0;
    ResetBlitList();
  }
};

// Every function with a (file, graph) pair, F and G; the other arguments of those that draw are
// valid.
constexpr const char *graph_calls[] = {
    "ground_put F G 5 5",
    "ground_xput F G 5 5 0 100 0 0",
    "ground_xxput F G 5 5 0 100 100 0 0 0 0 0 255 0",
    "ground_xxput F G 5 5 0 100 100 0 0 0 0 0 255 0 0 0",
    "ground_put_block F G 5 5 0 0 4 4",
    "ground_put_block F G 5 5 0 0 4 4 0 0 255 0 0 0",
    "ground_put_tile F G 5 5",
    "ground_put_tile F G 5 5 0 0",
    "ground_put_screen F G",
    "ground_get F G",
    "ground_copy 0 F G 0 0 10 10",
    "screen_get F G",
    "screen_copy 3 F G 0 0 10 10",
    "screen_draw_graphic F G 5 5 0 0",
    "screen_draw_graphic F G 5 5 0 0 0 100 0 0 255 0",
    "screen_draw_graphic F G 5 5 0 0 0 100 100 0 0 0 0 0 255 0 0 0",
    "screen_draw_block F G 5 5 0 0 0 4 4",
    "screen_draw_tile F G 5 5 0",
};

std::string capitals(std::string text) {
  for (char &c : text)
    c = char(toupper(c));
  return text;
}

TEST_F(GroundAndScreen, ReportBadGraphsAndDrawNothing) {
  const struct {
    int32_t file, graph, error, which; // which of the two is reported
  } rows[] = {{-1, 1, 109, 0},   {4, 1, 109, 0},  {-1, 0, 109, 0},
              {0, 0, 110, 1},    {0, -7, 110, 1}, {0, 1256, 110, 1},
              {1, 1000, 110, 1}, {1, 1, 111, 0},  {0, 1255, 121, 1}};
  for (const char *text : graph_calls)
    for (const auto &row : rows) {
      std::string line = text;
      line.replace(line.find('F'), 1, std::to_string(row.file));
      line.replace(line.find('G'), 1, std::to_string(row.graph));
      SCOPED_TRACE(line);
      begin();
      const file_bytes before = pixels_of(ground);
      const script_line call(line);
      // The pair comes first, except after a region.
      const int32_t position = call.name.find("_copy") != std::string::npos ? 2 : 1;
      expect_error(host, call, row.error, capitals(call.name), position + row.which,
                   row.which ? row.graph : row.file);
      EXPECT_EQ(pixels_of(ground), before);
      EXPECT_EQ(GetNumsBlitOnList(), 0);
    }
}

// Region 3 is defined, 5 is not, and there are 32.
TEST_F(GroundAndScreen, CheckRegionsAtTheirPlaces) {
  expect_calls(host, R"(
ground_xput 0 1000 5 5 0 100 0 5 -> 108 GROUND_XPUT 8 5
ground_xput 0 1000 5 5 0 100 0 -1 -> 108 GROUND_XPUT 8 -1
ground_xput 0 1000 5 5 0 100 0 32 -> 108 GROUND_XPUT 8 32
ground_xput 0 0 5 5 0 100 0 5 -> 110 GROUND_XPUT 2 0
ground_xput 0 1000 5 5 0 100 0 3 -> 1
ground_xput 0 1000 5 5 0 100 12 3 -> 0
ground_xput 0 1000 5 5 0 0 0 3 -> 0
ground_xxput 0 1000 5 5 0 100 100 0 0 0 0 5 255 0 -> 108 GROUND_XXPUT 12 5
ground_xxput 0 1000 5 5 0 100 100 0 0 0 0 -1 255 0 0 0 -> 108 GROUND_XXPUT 12 -1
ground_xxput 0 1000 5 5 0 100 100 0 0 0 0 3 255 2 -> 0
ground_put_block 0 1000 5 5 0 0 4 4 0 5 -> 108 GROUND_PUT_BLOCK 10 5
ground_put_block 0 1000 5 5 0 0 4 4 0 5 255 0 -> 108 GROUND_PUT_BLOCK 10 5
ground_put_block 0 1000 5 5 0 0 4 4 0 5 255 0 0 0 -> 108 GROUND_PUT_BLOCK 10 5
ground_put_block 0 1000 5 5 0 0 0 4 -> 0
ground_put_tile 0 1000 5 5 0 5 -> 108 GROUND_PUT_TILE 6 5
ground_put_tile 0 1000 5 5 0 5 255 0 -> 108 GROUND_PUT_TILE 6 5
ground_put_tile 0 1000 5 5 0 5 255 0 0 0 -> 108 GROUND_PUT_TILE 6 5
ground_put_tile 0 1000 5 5 4 3 -> 0
screen_draw_graphic 0 1000 5 5 0 0 0 100 0 5 255 0 -> 108 SCREEN_DRAW_GRAPHIC 10 5
screen_draw_graphic 0 1000 5 5 0 0 0 100 0 -1 255 0 0 0 -> 108 SCREEN_DRAW_GRAPHIC 10 -1
screen_draw_graphic 0 1000 5 5 0 0 0 100 100 0 0 0 0 5 255 0 -> 108 SCREEN_DRAW_GRAPHIC 14 5
screen_draw_graphic 0 1000 5 5 0 0 0 100 100 0 0 0 0 32 255 0 0 0 -> 108 SCREEN_DRAW_GRAPHIC 14 32
screen_draw_graphic 0 1000 900 900 0 0 -> 1
screen_draw_block 0 1000 5 5 0 0 0 4 4 0 5 -> 108 SCREEN_DRAW_BLOCK 11 5
screen_draw_block 0 1000 5 5 0 0 0 4 4 0 5 255 0 0 0 -> 108 SCREEN_DRAW_BLOCK 11 5
screen_draw_tile 0 1000 5 5 0 0 5 -> 108 SCREEN_DRAW_TILE 7 5
screen_draw_tile 0 1000 5 5 0 0 5 255 0 0 0 -> 108 SCREEN_DRAW_TILE 7 5
screen_draw_tile 0 1000 5 5 0 4 3 -> 1
ground_copy 5 0 1000 0 0 4 4 -> 120 GROUND_COPY 1 5
ground_copy -1 0 1000 0 0 4 4 -> 120 GROUND_COPY 1 -1
screen_copy 32 0 0 0 0 4 4 -> 120 SCREEN_COPY 1 32
)");
  // The two valid requests wait for the frame.
  EXPECT_EQ(GetNumsBlitOnList(), 2);
}

TEST_F(GroundAndScreen, DrawAsTheSameRequestMadeDirectly) {
  for (int32_t depth : {8, 16, 32}) {
    set_depth(depth);
    code = picture(13, 9);
    slot(code).surface->alpha_channel = depth == 32;
    int32_t drawn = 0;
    for (int i = 0; i < 1500; i++) {
      begin();
      __ORBBlit2D__ wanted{};
      wanted.src = slot(code).surface;
      wanted.x = any(-10, 70);
      wanted.y = any(-10, 55);
      wanted.size = wanted.size_x = wanted.size_y = 100;
      wanted.alpha = 255;
      orb_blit_operation *operation = ORBGI2D_Blit;
      const bool on_screen = random() % 2;
      const int32_t z = any(-5, 5);
      std::vector<int32_t> call = {0, code, wanted.x, wanted.y};
      std::string name = on_screen ? "screen_draw" : "ground_put";
      if (on_screen) call.push_back(z);
      const auto add = [&](int32_t &field, int32_t value) { call.push_back(field = value); };
      const auto add_color = [&] { call.push_back(int32_t(wanted.fxcolor = uint32_t(random()))); };
      const auto add_effect = [&](bool with_colour) {
        add(wanted.alpha, random() % 2 ? 255 : any(-9, 300));
        const int32_t effects[] = {0, 1, 3, 7, 12, 13, 16, 1001, 1008, 1015};
        add(wanted.fxmode, effects[random() % 10]);
        if (!with_colour) return;
        add_color();
        add(wanted.fxintensity, any(-10, 300));
      };
      const auto add_flags = [&] { add(wanted.flags, any(0, 12)); };
      const auto add_region = [&] { add(wanted.region, random() % 2 ? 3 : 0); };
      const auto add_tail = [&](uint32_t pairs) {
        if (pairs < 1) return;
        add_flags();
        add_region();
        if (pairs > 1) add_effect(pairs > 2);
      };
      const auto add_transform = [&] {
        const auto maybe = [&](int32_t plain, int32_t low, int32_t high) {
          return random() % 2 ? plain : any(low, high);
        };
        add(wanted.angle, maybe(0, -800000, 800000));
        wanted.angle %= 360000;
        add(wanted.size_x, maybe(100, 0, 300));
        add(wanted.size_y, maybe(100, 0, 300));
        add(wanted.shear_x, maybe(0, -90, 90));
        add(wanted.shear_y, maybe(0, -90, 90));
        add(wanted.tfmorder, any(-1, 6));
      };
      const auto choose = [&] {
        const bool turned = wanted.angle != 0;
        const bool scaled = wanted.size != 100 || wanted.size_x != 100 || wanted.size_y != 100;
        if (wanted.shear_x || wanted.shear_y)
          operation = turned ? ORBGI2D_BlitRotScaleShear : ORBGI2D_BlitScaleShear;
        else if (turned)
          operation = scaled ? ORBGI2D_BlitRotScale : ORBGI2D_BlitRotate;
        else
          operation = scaled ? ORBGI2D_BlitScale : ORBGI2D_Blit;
      };
      const uint32_t form = random() % 3;
      if (form == 0) {
        name += "_block";
        add(wanted.block_x, any(-3, 12));
        add(wanted.block_y, any(-3, 8));
        add(wanted.block_w, any(-1, 14));
        add(wanted.block_h, any(-1, 14));
        add_tail(random() % 4);
        operation = ORBGI2D_BlitBlock;
      } else if (form == 1) {
        name += "_tile";
        add_tail(random() % 4);
        operation = ORBGI2D_BlitTile;
      } else if (!on_screen) {
        if (random() % 2) {
          name = "ground_xput";
          add(wanted.angle, random() % 2 ? 0 : any(-800000, 800000));
          wanted.angle %= 360000;
          add(wanted.size, random() % 2 ? 100 : any(0, 300));
          add_tail(1);
        } else {
          name = "ground_xxput";
          add_transform();
          add_tail(2 + random() % 2);
        }
        choose();
      } else {
        name = "screen_draw_graphic";
        const int32_t resolution = any(-2, 3);
        call.push_back(resolution);
        if (resolution > 0) {
          wanted.x /= resolution;
          wanted.y /= resolution;
        }
        const uint32_t groups = random() % 6;
        if (groups >= 4) {
          add_transform();
          add_flags();
        } else if (groups >= 1) {
          add(wanted.angle, random() % 2 ? 0 : any(-800000, 800000));
          wanted.angle %= 360000;
          add(wanted.size, random() % 2 ? 100 : any(0, 300));
          add_flags();
        }
        if (groups >= 2) {
          add_region();
          add_effect(groups == 3 || groups == 5);
        }
        choose();
      }

      host.errors.clear();
      const int32_t result = host.call(find_handler(name, call.size()), call);
      ASSERT_TRUE(host.errors.empty());
      ASSERT_EQ(host.left_over(), 0u);
      __ORBSurface2D__ *const target = on_screen ? screen : ground;
      if (on_screen) {
        ASSERT_EQ(result, 1);
        ASSERT_EQ(GetNumsBlitOnList(), 1);
        __ORBBlit2D__ *queued = GetNumBlitOnList(0);
        ASSERT_EQ(queued->z, z);
        ASSERT_EQ(queued->owner, nullptr);
        ASSERT_EQ(queued->blit_op, operation) << name;
        queued->blit_op(queued);
      }
      const file_bytes seen = pixels_of(target);
      const uint8_t ground_marked = ground_puting;
      memcpy(target->pixels, (on_screen ? ground : screen)->pixels, target->byte_size);
      wanted.dst = target;
      ASSERT_EQ(operation(&wanted), on_screen ? GetNumBlitOnList(0)->drawn : result);
      ASSERT_EQ(pixels_of(target), seen) << name << " with " << call.size();
      ASSERT_EQ(ground_marked, !on_screen && wanted.drawn);
      drawn += wanted.drawn;
    }
    EXPECT_GT(drawn, 500);
  }
}

TEST_F(GroundAndScreen, DrawForOneFrameInDepthOrder) {
  const int32_t back = host.call(ORB_map_new, 4, 4, 0, 0, 0x111111);
  const int32_t middle = host.call(ORB_map_new, 4, 4, 0, 0, 0x222222);
  const int32_t front = host.call(ORB_map_new, 4, 4, 0, 0, 0x333333);
  orb_process &process = host.spawn();
  process.locals->graph = middle;
  const auto frame = [] {
    ORBGI2D_BlitFill(screen, 0, 0);
    UseBlitList(graphics2D_blitlist);
    do_processes();
    draw_frame();
  };
  // A host may have selected a list of its own.
  CreateBlitList("HOST", 4, 4);
  host.call(ORB_screen_draw_graphic, 0, front, 3, 3, -1, 0);
  host.call(ORB_screen_draw_block, 0, back, -2, -2, 1, 0, 0, 4, 4);
  frame();
  EXPECT_EQ(pixel(*screen, 0, 0), 0x222222u);
  EXPECT_EQ(pixel(*screen, 3, 3), 0x333333u);
  EXPECT_EQ(pixel(*screen, 6, 6), 0x333333u);
  frame();
  EXPECT_EQ(pixel(*screen, 6, 6), 0u);
  process.locals->z = 2;
  host.call(ORB_screen_draw_block, 0, back, -2, -2, 1, 0, 0, 4, 4);
  frame();
  EXPECT_EQ(pixel(*screen, 1, 1), 0x111111u);
  EXPECT_EQ(pixel(*screen, 2, 2), 0x222222u);

  // Graphs unloaded before the frame are left out; the rest is drawn.
  host.call(ORB_screen_draw_tile, 0, back, 0, 0, 9);
  host.call(ORB_screen_draw_graphic, 0, front, 10, 10, 0, 0);
  EXPECT_EQ(host.call(ORB_map_unload, back), 1);
  frame();
  EXPECT_EQ(pixel(*screen, 30, 30), 0u);
  EXPECT_EQ(pixel(*screen, 10, 10), 0x333333u);
}

TEST_F(GroundAndScreen, PutScreenCoversTheMiddleOfAClearedGround) {
  host.call(ORB_region_define, 0, 10, 10, 4, 4); // has no effect here
  for (int32_t depth : {8, 16, 32}) {
    set_depth(depth);
    screen_color = 7;
    const struct {
      int32_t width, height;
    } sizes[] = {{13, 9}, {screen_width, screen_height}, {81, 64}, {screen_width + 2, 3}};
    for (const auto &size : sizes) {
      const int32_t made = picture(size.width, size.height);
      scribble(ground);
      ground_puting = 0;
      ASSERT_EQ(host.call(ORB_ground_put_screen, 0, made), 1);
      EXPECT_EQ(ground_puting, 1);
      const int32_t left = screen_width / 2 - size.width / 2;
      const int32_t top = screen_height / 2 - size.height / 2;
      for (int32_t y = 0; y < screen_height; y++)
        for (int32_t x = 0; x < screen_width; x++) {
          const int32_t i = x - left, j = y - top;
          const bool inside = i >= 0 && i < size.width && j >= 0 && j < size.height;
          const uint32_t wanted =
              inside ? pixel(*slot(made).surface, uint32_t(i), uint32_t(j)) : 7u;
          ASSERT_EQ(pixel(*ground, uint32_t(x), uint32_t(y)), wanted) << x << ", " << y;
        }
    }
  }
}

// Refill the screen, so that it differs from the ground.
TEST_F(GroundAndScreen, GetCopiesWhatBothHave) {
  for (int32_t depth : {8, 16, 32}) {
    set_depth(depth);
    begin();
    scribble(screen);
    const struct {
      int32_t width, height;
    } sizes[] = {{13, 9}, {100, 7}, {5, 90}, {screen_width, screen_height}};
    for (const auto &size : sizes)
      for (__ORBSurface2D__ *from : {ground, screen}) {
        const int32_t made = picture(size.width, size.height);
        const __ORBSurface2D__ &to = *slot(made).surface;
        std::vector<uint32_t> wanted;
        for (uint32_t i = 0; i < to.pixel_count; i++) {
          const uint32_t x = i % to.width, y = i / to.width;
          const bool inside = x < from->width && y < from->height;
          wanted.push_back(pixel(inside ? *from : to, x, y));
        }
        ASSERT_EQ(host.call(from == ground ? ORB_ground_get : ORB_screen_get, 0, made), 1);
        for (uint32_t i = 0; i < to.pixel_count; i++)
          ASSERT_EQ(pixel(to, i % to.width, i / to.width), wanted[i]);
      }
  }
  const int32_t deep = picture(5, 5);
  set_depth(8);
  for (const char *call : {"ground_get", "screen_get"})
    expect_calls(host, (std::string(call) + " 0 " + std::to_string(deep) + " -> silent").c_str());
  expect_calls(host, ("ground_copy 0 0 " + std::to_string(deep) + " 0 0 4 4 -> silent").c_str());
}

TEST_F(GroundAndScreen, CopyStretchesTheRegion) {
  const int32_t far[] = {INT32_MIN, -100000, 100000, INT32_MAX};
  for (int32_t depth : {8, 16, 32}) {
    set_depth(depth);
    begin();
    scribble(screen);
    int32_t drawn = 0;
    for (int i = 0; i < 600; i++) {
      __ORBSurface2D__ *from = random() % 2 ? ground : screen;
      const int32_t made = picture(any(1, 40), any(1, 30));
      const __ORBSurface2D__ &to = *slot(made).surface;
      const int32_t left = any(-20, 70), top = any(-20, 50);
      regions[3] = {left, left + any(-2, 60), top, top + any(-2, 50)};
      int32_t x = any(-30, 40), y = any(-30, 30), w = any(-1, 80), h = any(-1, 80);
      if (i % 4 == 0) w = regions[3].x1 - regions[3].x0 + 1; // unchanged size, when it is inside
      if (i % 16 == 1) x = far[random() % 4];
      if (i % 16 == 2) w = far[random() % 4];
      if (i % 16 == 3) x = INT32_MIN, w = INT32_MAX;
      if (i % 16 == 4) y = -2000000000, h = 2000000100;
      const int64_t x0 = std::max(regions[3].x0, 0), y0 = std::max(regions[3].y0, 0);
      const int64_t x1 = std::min(regions[3].x1, screen_width - 1);
      const int64_t y1 = std::min(regions[3].y1, screen_height - 1);
      std::vector<uint32_t> wanted;
      bool any_drawn = false;
      for (uint32_t k = 0; k < to.pixel_count; k++) {
        const int64_t column = int64_t(k % to.width) - x, row = int64_t(k / to.width) - y;
        uint32_t colour = pixel(to, k % to.width, k / to.width);
        if (x0 <= x1 && y0 <= y1 && column >= 0 && column < w && row >= 0 && row < h) {
          any_drawn = true;
          // The source pixel under the centre of this one.
          const auto sx = int64_t((double(column) + 0.5) * double(x1 - x0 + 1) / w) + x0;
          const auto sy = int64_t((double(row) + 0.5) * double(y1 - y0 + 1) / h) + y0;
          colour = pixel(*from, uint32_t(sx), uint32_t(sy));
        }
        wanted.push_back(colour);
      }
      const auto copy = from == ground ? ORB_ground_copy : ORB_screen_copy;
      ASSERT_EQ(host.call(copy, 3, 0, made, x, y, w, h), any_drawn);
      for (uint32_t k = 0; k < to.pixel_count; k++)
        ASSERT_EQ(pixel(to, k % to.width, k / to.width), wanted[k])
            << i << ": " << k % to.width << ", " << k / to.width << " at " << x << ", " << y << " "
            << w << " x " << h;
      drawn += any_drawn;
      host.call(ORB_map_unload, made);
    }
    EXPECT_GT(drawn, 100);
  }
}

TEST_F(GroundAndScreen, ScreenPixels) {
  begin();
  scribble(screen);
  EXPECT_EQ(uint32_t(host.call(ORB_screen_get_pixel, 63, 47)), pixel(*screen, 63, 47));
  EXPECT_EQ(uint32_t(host.call(ORB_screen_get_pixel, 0, 9)), pixel(*screen, 0, 9));
  for (const auto &[x, y] : {std::pair{-1, 0}, {0, -1}, {64, 0}, {0, 48}, {INT32_MAX, INT32_MIN}})
    EXPECT_EQ(host.call(ORB_screen_get_pixel, x, y), 0);
}

TEST_F(GroundAndScreen, WithoutSurfacesNothingHappens) {
  ORBGI2D_DeleteGFXSurface(ground);
  ORBGI2D_DeleteGFXSurface(screen);
  ground = screen = nullptr;
  expect_calls(host, R"(
ground_put 0 1000 5 5 -> 0
ground_xput 0 1000 5 5 10 90 0 0 -> 0
ground_put_tile 0 1000 5 5 -> 0
ground_put_screen 0 1000 -> 0
ground_get 0 1000 -> silent
screen_get 0 1000 -> silent
ground_copy 0 0 1000 0 0 4 4 -> silent
screen_draw_graphic 0 1000 5 5 0 0 -> 1
screen_get_pixel 0 0 -> 0
)");
  draw_frame();
  EXPECT_EQ(GetNumsBlitOnList(), 0);
}

// Every function of these families that takes only integers, with arbitrary arguments.
TEST_F(GroundAndScreen, AnyArgumentsAreTaken) {
  _draw_z_ = host.global("draw_z");
  _draw_visible_ = host.global("draw_visible");
  _draw_destination_file_ = host.global("draw_destination_file");
  _draw_destination_graph_ = host.global("draw_destination_graph");
  std::vector<const orb_function *> functions;
  for (const orb_function *row = functions_table; row->signature; ++row) {
    const std::string signature = row->signature;
    const bool ours = signature.starts_with("ground_") || signature.starts_with("draw_") ||
                      signature.starts_with("screen_");
    if (ours && !signature.starts_with("screen_fade") &&
        signature.find_first_of("SP") == std::string::npos)
      functions.push_back(row);
  }
  ASSERT_GT(functions.size(), 70u);
  const int32_t extremes[] = {INT32_MIN, INT32_MIN + 1, -65536,   -1,
                              65535,     INT32_MAX - 1, INT32_MAX};
  for (int32_t depth : {8, 16, 32}) {
    set_depth(depth);
    code = picture(13, 9);
    for (int i = 0; i < 6000; i++) {
      const std::string signature = functions[random() % functions.size()]->signature;
      std::vector<int32_t> arguments(size_t(std::count(signature.begin(), signature.end(), 'I')));
      for (int32_t &argument : arguments) {
        const uint32_t kind = random() % 8;
        argument = kind == 0 ? extremes[random() % 7] : kind < 4 ? any(0, 5) : any(-20, 260);
      }
      // Valid graph arguments for most of these functions; otherwise too many calls are refused.
      if (random() % 2 && arguments.size() > 1) {
        arguments[0] = 0;
        arguments[1] = code;
      }
      *_draw_destination_graph_ = random() % 4 ? 0 : code;
      *_draw_visible_ = random() % 4 != 0;
      host.call(find_handler(signature.substr(0, signature.find('(')), arguments.size()),
                arguments);
      ASSERT_EQ(host.left_over(), 0u) << signature;
      ASSERT_EQ(host.times_returned(), 1) << signature;
      if (i % 50) continue;
      UseBlitList(graphics2D_blitlist);
      do_drawings();
      draw_frame();
    }
    host.call(ORB_draw_delete, -1);
  }
  _draw_z_ = _draw_visible_ = _draw_destination_file_ = _draw_destination_graph_ = nullptr;
}

// ---- The screen colour --------------------------------------------------------------------------

struct ScreenColour : Mode {
  /// Opens a mode without fades, which would change the pixels.
  void open(int32_t bpp) {
    constexpr int32_t window = 1, donotfade = 64;
    ASSERT_EQ(set(320, 200, bpp, window | donotfade), 1);
    while (*fading)
      ORB_mod_graphics2D_frame();
  }
  /// A frame that restores only the zones of the last one, of which there are none.
  uint32_t corner_after_frame() {
    ORB_mod_graphics2D_frame();
    return uint32_t(host.call(ORB_screen_get_pixel, 0, 0));
  }
};

TEST_F(ScreenColour, FillsTheNextFrameAndFollowsTheDepth) {
  *_dump_type_ = *_restore_type_ = 0;
  open(32);
  expect_calls(host, "screen_get_color -> 0\nscreen_set_color 8421504 -> 1"); // 0x808080
  EXPECT_EQ(corner_after_frame(), 0x808080u);
  EXPECT_EQ(corner_after_frame(), 0x808080u);
  expect_calls(host, "screen_set_color 300 128 -7 -> 1\nscreen_get_color -> 16744448");
  EXPECT_EQ(corner_after_frame(), 0xFF8000u);
  EXPECT_EQ(host.call(ORB_screen_clear), 1);
  EXPECT_EQ(host.call(ORB_ground_get_pixel, 9, 9), 0xFF8000);

  open(16);
  expect_calls(host, "screen_get_color -> 64512"); // 0xFC00
  EXPECT_EQ(corner_after_frame(), 0xFC00u);
  int32_t r = 1, g = 1, b = 1;
  EXPECT_EQ(host.call(ORB_screen_get_color, &r, &g, &b), 1);
  EXPECT_EQ(std::tuple(r, g, b), std::tuple(255, 128, 0));
  EXPECT_EQ(host.call(ORB_screen_get_color, nullptr, &g, nullptr), 1);
  expect_calls(host, R"(
screen_set_color 65536 -> silent
screen_get_color -> 64512
screen_set_color 65535 -> 1
)");
  EXPECT_EQ(host.call(ORB_screen_get_color, &r, &g, &b), 1);
  EXPECT_EQ(std::tuple(r, g, b), std::tuple(248, 252, 248));

  open(8);
  const auto nearest = find_nearest(palette, 248, 252, 248);
  EXPECT_EQ(corner_after_frame(), nearest);
  expect_calls(host, "screen_set_color 256 -> 154 SCREEN_SET_COLOR 1 256\n"
                     "screen_set_color -1 -> 154 SCREEN_SET_COLOR 1 -1\n"
                     "screen_set_color 9 -> 1\nscreen_get_color -> 9\n");
  EXPECT_EQ(corner_after_frame(), 9u);
  open(32);
  const orb_rgb blue = [] {
    __ORBPalette2D__ colours;
    load_default_palette(&colours);
    return colours.colours[9];
  }();
  EXPECT_EQ(corner_after_frame(), uint32_t(blue.r << 16 | blue.g << 8 | blue.b));
}

TEST_F(ScreenColour, IsForgottenAtTheEnd) {
  open(32);
  host.call(ORB_screen_set_color, 1, 2, 3);
  ORB_mod_graphics2D_release();
  ORB_mod_graphics2D_init();
  open(32);
  EXPECT_EQ(host.call(ORB_screen_get_color), 0);
  EXPECT_EQ(corner_after_frame(), 0u);
}

} // namespace
