// Loading and saving pictures of 1024x768: our codecs against SDL_image's, against libpng and
// libjpeg alone, and against the mere reading or writing of the same bytes. Files come from the
// system's cache.
#include <malloc.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#ifdef ORB_BENCH_SDL_IMAGE
#include <SDL_image.h>
#endif

#include "benchmarks.h"
#include "contender.h"
#include "formats/codec.h"
#include "formats/map_file.h"
#include "orb_host.h"
#include "raw_codecs.h"
#include "report.h"
#include "scratch_folder.h"
#include "surface/libraries.h"
#include "surface/surface.h"

namespace orbbench {

namespace {

constexpr int32_t width = 1024, height = 768;

/// A kind of file.
struct file_kind {
  const char *name;
  image_format format;
  int32_t parameter, depth;
  bool alpha;
};
constexpr file_kind kinds[] = {
    {"bmp/8 bit", img_format_bmp, 0, 8, false},
    {"bmp/8 bit coded", img_format_bmp, 1, 8, false},
    {"bmp/24 bit", img_format_bmp, 0, 32, false},
    {"bmp/32 bit", img_format_bmp, 0, 32, true},
    {"pcx/8 bit", img_format_pcx, 0, 8, false},
    {"pcx/24 bit", img_format_pcx, 0, 32, false},
    {"tga/8 bit", img_format_tga, 0, 8, false},
    {"tga/8 bit coded", img_format_tga, 1, 8, false},
    {"tga/24 bit", img_format_tga, 0, 32, false},
    {"tga/24 bit coded", img_format_tga, 1, 32, false},
    {"tga/32 bit", img_format_tga, 0, 32, true},
    {"tga/32 bit coded", img_format_tga, 1, 32, true},
    {"png/8 bit", img_format_png, -1, 8, false},
    {"png/24 bit", img_format_png, -1, 32, false},
    {"png/32 bit", img_format_png, -1, 32, true},
    {"jpeg/24 bit", img_format_jpeg, -1, 32, false},
    {"map/8 bit", img_format_map, 0, 8, false},
    {"map/16 bit", img_format_map, 0, 16, false},
    {"map/32 bit", img_format_map, 0, 32, true},
};

/// Lets the C library keep the memory of pictures: asking the system for zeroed pages each time
/// would take longer than most of what is measured, and hit those first who come at a bad time.
void keep_memory() {
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, 256 << 20);
}

/// Lends the picture in the reader's globals to the MAP writer as a surface.
void lend_surface() {
  static __ORBSurface2D__ lent;
  lent = {};
  lent.width = width;
  lent.height = height;
  lent.depth = image_bpp;
  lent.byte_size = uint32_t(width * height * image_bpp / 8);
  lent.pixels = image_data;
  lent.alpha_channel = image_alphachannel;
  image_flags = cpoint_word(lent);
  image_surface = &lent;
}

/// Draws a picture into the reader's globals: a sky of soft colours over flat shapes, so that run
/// lengths are those of drawn graphics.
void draw(const file_kind &kind) {
  reset_image();
  image_w = width;
  image_h = height;
  image_bpp = kind.depth;
  image_alphachannel = kind.alpha;
  image_data = aligned_malloc(uint32_t(width * height * kind.depth / 8));
  for (int32_t y = 0; y < height; ++y)
    for (int32_t x = 0; x < width; ++x) {
      const bool flat = y > 300 && (x / 90 + y / 70) % 3 != 0;
      const uint32_t shade = uint32_t(128 + 100 * std::sin(x * 0.013) * std::cos(y * 0.017));
      const uint32_t at = uint32_t(y * width + x);
      if (kind.depth == 8)
        static_cast<uint8_t *>(image_data)[at] = uint8_t(flat ? x / 90 : shade);
      else if (kind.depth == 16)
        static_cast<uint16_t *>(image_data)[at] = uint16_t(flat ? x / 90 : shade << 8);
      else
        static_cast<uint32_t *>(image_data)[at] = flat ? 0xFF203040u * uint32_t(1 + x / 90)
                                                       : (kind.alpha ? shade << 24 : 0) |
                                                             shade << 16 | (255 - shade) << 8 |
                                                             uint32_t(y & 255);
    }
  lend_surface();
}

const image_codec &codec_of(const file_kind &kind) {
  keep_memory();
  host_at_depth(kind.depth);
  const image_codec *codec = codec_for(kind.format);
  if (!codec) throw std::runtime_error("a format is missing");
  return *codec;
}

/// A file of that kind, written by us.
std::string file_of(const file_kind &kind) {
  std::string name = kind.name;
  for (char &c : name)
    if (c == '/' || c == ' ') c = '_';
  const std::string path = scratch_folder() + "/" + name;
  if (!std::filesystem::exists(path)) {
    const image_codec &codec = codec_of(kind);
    draw(kind);
    if (!codec.save(path.c_str(), kind.parameter, nullptr))
      throw std::runtime_error("cannot write " + path);
    reset_image();
  }
  return path;
}

void count_pixels(benchmark::State &state) {
  state.SetItemsProcessed(state.iterations() * width * height);
}

void load_ours(benchmark::State &state, const file_kind &kind) {
  const std::string path = file_of(kind);
  const image_codec &codec = codec_of(kind);
  for (auto _ : state) {
    reset_image();
    if (!codec.load(path.c_str(), nullptr)) return state.SkipWithError("not read");
  }
  reset_image();
  count_pixels(state);
}

void save_ours(benchmark::State &state, const file_kind &kind) {
  const std::string path = scratch_folder() + "/written";
  const image_codec &codec = codec_of(kind);
  draw(kind);
  for (auto _ : state)
    if (!codec.save(path.c_str(), kind.parameter, nullptr))
      return state.SkipWithError("not written");
  reset_image();
  count_pixels(state);
}

struct plain_file {
  FILE *file;
  plain_file(const std::string &path, const char *how) : file(std::fopen(path.c_str(), how)) {
    if (!file) throw std::runtime_error("cannot open " + path);
  }
  ~plain_file() { std::fclose(file); }
};

/// What any reader has to do at least: new memory for the file's bytes, and the bytes into it.
void read_bytes(benchmark::State &state, const std::string &path) {
  const size_t size = std::filesystem::file_size(path);
  for (auto _ : state) {
    const plain_file in(path, "rb");
    void *const bytes = std::malloc(size);
    if (std::fread(bytes, 1, size, in.file) != size) state.SkipWithError("not read");
    std::free(bytes);
  }
  count_pixels(state);
}

void write_bytes(benchmark::State &state, const std::string &path) {
  const std::vector<char> bytes(std::filesystem::file_size(path), 'x');
  for (auto _ : state) {
    const plain_file out(scratch_folder() + "/written", "wb");
    if (std::fwrite(bytes.data(), 1, bytes.size(), out.file) != bytes.size())
      state.SkipWithError("not written");
  }
  count_pixels(state);
}

#ifdef ORB_BENCH_SDL_IMAGE
void load_sdl(benchmark::State &state, const file_kind &kind) {
  const std::string path = file_of(kind);
  const char *const types[] = {"", "", "BMP", "JPG", "PCX", "PNG", "TGA"};
  for (auto _ : state) {
    SDL_Surface *const surface = IMG_LoadTyped_RW(SDL_RWFromFile(path.c_str(), "rb"), 1,
                                                  const_cast<char *>(types[kind.format]));
    if (!surface) return state.SkipWithError(IMG_GetError());
    SDL_FreeSurface(surface);
  }
  count_pixels(state);
}

/// SDL writes plain BMP files of 8 and 24 bits.
void save_sdl(benchmark::State &state, const file_kind &kind) {
  SDL_Surface *const surface = IMG_Load(file_of(kind).c_str());
  for (auto _ : state)
    if (!surface || SDL_SaveBMP(surface, (scratch_folder() + "/written").c_str()) != 0)
      return state.SkipWithError(SDL_GetError());
  SDL_FreeSurface(surface);
  count_pixels(state);
}

bool sdl_saves(const file_kind &kind) {
  return kind.format == img_format_bmp && !kind.alpha && kind.parameter == 0;
}
#endif

// ---- The libraries behind PNG and JPEG ---------------------------------------------------------

void load_raw(benchmark::State &state, const file_kind &kind) {
  const std::string path = file_of(kind);
  keep_memory();
  auto *const load = kind.format == img_format_png ? load_raw_png : load_raw_jpeg;
  for (auto _ : state)
    if (!load(path)) return state.SkipWithError("not read");
  count_pixels(state);
}

void save_raw(benchmark::State &state, const file_kind &kind) {
  host_at_depth(kind.depth);
  draw(kind);
  const raw_picture picture = {width, height, kind.depth == 8, kind.alpha, image_data};
  auto *const save = kind.format == img_format_png ? save_raw_png : save_raw_jpeg;
  for (auto _ : state)
    if (!save(scratch_folder() + "/written", picture)) return state.SkipWithError("not written");
  reset_image();
  count_pixels(state);
}

// ---- Graph libraries: as many pixels, in 48 graphs of 128 x 128 -------------------------------

constexpr int32_t graph_side = 128, library_graphs = width * height / graph_side / graph_side;

/// A library at a depth, which the next one takes the place of.
orb_fpg &drawn_library(int32_t depth) {
  keep_memory();
  orbhost::Host &host = host_at_depth(depth);
  static int32_t number = -1;
  if (number >= 0) unload_library(number);
  number = host.call("fpg_new", {});
  for (int32_t code = 1; code <= library_graphs; ++code) {
    host.call("fpg_new_map", {number, code, graph_side, graph_side});
    const __ORBSurface2D__ &surface = *fpg[number].slots[code].surface;
    memset(surface.pixels, code, surface.byte_size);
  }
  return fpg[number];
}

std::string library_file(int32_t depth) {
  const std::string path = scratch_folder() + "/library" + std::to_string(depth);
  if (!std::filesystem::exists(path) &&
      !save_library(drawn_library(depth), path.c_str(), false, nullptr))
    throw std::runtime_error("cannot write " + path);
  return path;
}

void load_our_library(benchmark::State &state, int32_t depth) {
  const std::string path = library_file(depth);
  host_at_depth(depth);
  for (auto _ : state) {
    library_fault fault;
    const int32_t number = load_library(path.c_str(), nullptr, fault);
    if (number < 0) return state.SkipWithError("not read");
    unload_library(number);
  }
  count_pixels(state);
}

void save_our_library(benchmark::State &state, int32_t depth) {
  const orb_fpg &library = drawn_library(depth);
  const std::string path = scratch_folder() + "/written";
  for (auto _ : state)
    if (!save_library(library, path.c_str(), false, nullptr))
      return state.SkipWithError("not written");
  count_pixels(state);
}

void register_libraries() {
  for (const int32_t depth : {8, 16, 32}) {
    const std::string kind = "fpg/" + std::to_string(depth) + " bit";
    const auto add = [depth](const std::string &name, auto run) {
      benchmark::RegisterBenchmark(name.c_str(),
                                   [=](benchmark::State &state) { run(state, depth); });
    };
    set_expectation("load/" + kind, {{1}, 0, {}});
    set_expectation("save/" + kind, {{1}, 0, {}});
    add("load/" + kind + "/" + our_name, load_our_library);
    add("load/" + kind + "/read",
        [](benchmark::State &state, int32_t of) { read_bytes(state, library_file(of)); });
    add("save/" + kind + "/" + our_name, save_our_library);
    add("save/" + kind + "/write",
        [](benchmark::State &state, int32_t of) { write_bytes(state, library_file(of)); });
  }
}

} // namespace

void register_format_benchmarks() {
  set_table_style("load", {"Loading pictures", 1e6, "Mpix/s", "read"});
  set_table_style("save", {"Saving pictures", 1e6, "Mpix/s", "write"});
  for (const file_kind &kind : kinds) {
    const std::string load = std::string("load/") + kind.name + "/";
    const std::string save = std::string("save/") + kind.name + "/";
    const auto add = [&kind](const std::string &name, auto *run) {
      benchmark::RegisterBenchmark(name.c_str(), run, kind);
    };
    // Where a library does the work, at most a tenth may come on top of its time.
    const bool by_library = kind.format == img_format_png || kind.format == img_format_jpeg;
    const double target = by_library ? 1 / 1.1 : 1;
    set_expectation(std::string("load/") + kind.name, {{target}, 0, {}});
    set_expectation(std::string("save/") + kind.name, {{target}, 0, {}});
    add(load + our_name, load_ours);
    add(
        load + "read",
        +[](benchmark::State &state, const file_kind &of) { read_bytes(state, file_of(of)); });
    add(save + our_name, save_ours);
    add(
        save + "write",
        +[](benchmark::State &state, const file_kind &of) { write_bytes(state, file_of(of)); });
    if (by_library) {
      add(load + "library", load_raw);
      add(save + "library", save_raw);
    }
#ifdef ORB_BENCH_SDL_IMAGE
    if (kind.format != img_format_map) add(load + "sdl_image", load_sdl);
    if (sdl_saves(kind)) add(save + "sdl_image", save_sdl);
#endif
  }
  register_libraries();
}

} // namespace orbbench
