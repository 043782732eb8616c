// The process scan: which processes become requests, and the requests' fields.
#include <cstring>
#include <optional>
#include <random>

#include <gtest/gtest.h>

#include "blit/blit.h"
#include "blit/blit_list.h"
#include "frame/process_scan.h"
#include "graphics_fixture.h"

namespace {

struct ProcessScan : graphics_test {
  ProcessScan() { CreateBlitList("GRAPHICS2D", 4, 16); }

  __ORBSurface2D__ *add_graph(int32_t file, int32_t graph) {
    __ORBSurface2D__ *surface = ORBGI2D_CreateGFXSurface(8, 4, 32, 1);
    fpg[file].slots[graph].surface = surface;
    fpg[file].slots[graph].code = graph;
    ++fpg[file].map_count;
    return surface;
  }
  void add_library(int32_t file) {
    fpg[file].in_use = 1;
    fpg[file].slots =
        static_cast<orb_map_slot *>(calloc(size_t(graphs_per_library), sizeof(orb_map_slot)));
  }
  /// Scans the one process and returns its request, or null.
  __ORBBlit2D__ *scan() {
    ResetBlitList();
    do_processes();
    return GetNumBlitOnList(0);
  }
};

/// The scan's rules, written out step by step. Changes the locals as the scan does.
std::optional<__ORBBlit2D__> expected_request(orb_process &process) {
  orb_locals &l = *process.locals;
  if (!(process.status == 2 || process.status > 3)) return {};
  if (!(l.visible >= 1)) return {};
  if (!(l.file >= 0 && l.file < max_fpg)) return {};
  if (l.xgraph) {
    const int64_t n = uint32_t(l.xgraph[0]);
    if (n == 0 || n > 256) return {};
    while (l.angle >= 360000)
      l.angle -= 360000;
    while (l.angle < 0)
      l.angle += 360000;
    l.flags = l.flags & 254;
    const int64_t h = 360000 / (2 * n);
    int64_t k = (h + l.angle) * n / 360000;
    if (k >= n) k = 0;
    l.graph = l.xgraph[k + 1];
    if (l.graph < 0) {
      l.graph = -l.graph;
      l.flags = l.flags | 1;
    }
  }
  const int32_t bound = l.file != 0 ? 1000 : max_map;
  if (!(1 <= l.graph && l.graph < bound)) return {};
  if (fpg[l.file].map_count == 0 || fpg[l.file].slots[l.graph].code == 0) return {};
  if (!fpg[l.file].slots[l.graph].surface) return {}; // a code without a surface
  if (l.destination_file < 0 || l.destination_file >= max_fpg) return {};
  if (l.destination_graph < 0 || l.destination_graph >= bound) return {};
  __ORBSurface2D__ *destination;
  if (l.destination_file == 0 && l.destination_graph == 0) {
    destination = screen;
  } else {
    if (l.destination_graph == 0) return {};
    orb_map_slot *slot = GetMAP(l.destination_file, l.destination_graph);
    if (!slot || !slot->surface) return {};
    destination = slot->surface;
  }
  __ORBBlit2D__ r{};
  r.owner = &process;
  r.x = l.x, r.y = l.y, r.z = l.z;
  r.region = l.region, r.resolution = l.resolution;
  r.destination_file = l.destination_file, r.destination_graph = l.destination_graph;
  r.tfmorder = l.tfmorder, r.angle = l.angle % 360000;
  r.size = l.size, r.size_x = l.size_x, r.size_y = l.size_y;
  r.shear_x = l.shear_x, r.shear_y = l.shear_y;
  r.flags = l.flags, r.alpha = l.alpha;
  r.fxmode = l.fxmode, r.fxcolor = l.fxcolor, r.fxintensity = l.fxintensity;
  r.src = fpg[l.file].slots[l.graph].surface, r.dst = destination;
  const bool scaled = l.size != 100 || l.size_x != 100 || l.size_y != 100;
  const bool sheared = l.shear_x != 0 || l.shear_y != 0;
  if (l.xgraph || l.angle % 360000 == 0)
    r.blit_op = sheared ? ORBGI2D_BlitScaleShear : scaled ? ORBGI2D_BlitScale : ORBGI2D_Blit;
  else
    r.blit_op = sheared  ? ORBGI2D_BlitRotScaleShear
                : scaled ? ORBGI2D_BlitRotScale
                         : ORBGI2D_BlitRotate;
  if (l.resolution > 0) r.x /= l.resolution, r.y /= l.resolution;
  return r;
}

/// Thousands of processes with random locals, valid and invalid, against the rules.
TEST_F(ProcessScan, Random) {
  add_library(2);
  for (const int32_t graph : {1, 7, 999, 1000, 1255})
    add_graph(0, graph);
  for (const int32_t graph : {1, 3, 999})
    add_graph(2, graph);
  fpg[2].slots[5].code = 5; // a code without a surface: nothing to draw

  std::mt19937 random(3);
  const auto one_of = [&](std::initializer_list<int32_t> values) {
    return values.begin()[random() % values.size()];
  };
  std::vector<std::vector<int32_t>> arrays;
  for (const int32_t n : {1, 2, 3, 4, 8, 7, 100, 255, 256, 0, 257, -1, INT32_MIN}) {
    arrays.push_back({n});
    for (int32_t i = 0; i < 257; ++i)
      arrays.back().push_back(one_of({1, 7, -7, 999, -999, 3, -3, 0, 1000, INT32_MIN + 1}));
  }
  int32_t accepted = 0;
  for (int32_t round = 0; round < 200; ++round) {
    host.processes.clear();
    host.locals.clear();
    for (int32_t i = 0; i < 100; ++i) {
      orb_process &p = host.spawn();
      orb_locals &l = *p.locals;
      p.status = one_of({0, 1, 2, 2, 2, 2, 3, 4, 5, -1, INT32_MAX});
      l.visible = one_of({1, 1, 1, 1, 2, 0, -1});
      l.file = one_of({0, 0, 0, 0, 2, 2, 2, 2, 1, -1, 3, 4, INT32_MIN});
      l.graph = one_of({1, 1, 1, 1, 3, 7, 999, 1000, 1255, 1256, 0, -1, 5, 42});
      if (random() % 3 == 0) l.xgraph = arrays[random() % arrays.size()].data();
      l.destination_file = one_of({0, 0, 0, 0, 0, 0, 2, 1, -1, 4});
      l.destination_graph = one_of({0, 0, 0, 0, 0, 0, 1, 7, 999, 1000, 1255, 8, -1, 1256});
      l.angle = random() % 2 ? one_of({0, 90000, -90000, 359999, 360000, -360000, 720001})
                             : int32_t(random() % 4000000) - 2000000;
      l.x = int32_t(random()), l.y = int32_t(random()), l.z = int32_t(random());
      l.region = int32_t(random() % 40), l.resolution = one_of({0, 0, 1, 10, -5, INT32_MIN});
      l.size = one_of({100, 100, 50, 0});
      l.size_x = one_of({100, 100, 100, 200});
      l.size_y = one_of({100, 100, 100, -3});
      l.shear_x = one_of({0, 0, 0, 20}), l.shear_y = one_of({0, 0, 0, -20});
      l.flags = int32_t(random()), l.alpha = int32_t(random()), l.fxmode = int32_t(random());
      l.fxcolor = random(), l.fxintensity = int32_t(random()), l.tfmorder = int32_t(random());
    }
    const std::deque<orb_locals> before = host.locals;
    std::vector<__ORBBlit2D__> expected;
    for (orb_process &process : host.processes)
      if (const auto request = expected_request(process)) expected.push_back(*request);
    const std::deque<orb_locals> after = host.locals;
    for (size_t i = 0; i < before.size(); ++i)
      host.locals[i] = before[i];

    ResetBlitList();
    do_processes();
    for (size_t i = 0; i < after.size(); ++i)
      EXPECT_EQ(memcmp(&host.locals[i], &after[i], sizeof after[i]), 0) << "process " << i;
    ASSERT_EQ(GetNumsBlitOnList(), int32_t(expected.size()));
    for (size_t i = 0; i < expected.size(); ++i) {
      // Fields the scan leaves unchanged: link, drawn box, reserved words, block, box of its own
      // region.
      __ORBBlit2D__ seen = *GetNumBlitOnList(int32_t(i)), &want = expected[i];
      EXPECT_EQ(memcmp(&seen, &want, sizeof seen), 0) << "request " << i;
    }
    accepted += int32_t(expected.size());
  }
  EXPECT_GT(accepted, 1000) << "too few good processes to mean anything";
}

TEST_F(ProcessScan, DirectionGraphs) {
  for (const int32_t graph : {10, 11, 12, 13})
    add_graph(0, graph);
  orb_locals &l = *host.spawn().locals;
  int32_t directions[] = {4, 10, -11, 12, 13};
  l.xgraph = directions;
  l.flags = 0xF06;

  l.angle = 100000;
  __ORBBlit2D__ *request = scan();
  ASSERT_TRUE(request);
  EXPECT_EQ(request->src, slot(11).surface);
  EXPECT_EQ(l.graph, 11);
  EXPECT_EQ(l.flags, 7) << "mirrored, and bits 8 and above gone";
  EXPECT_EQ(request->blit_op, ORBGI2D_Blit) << "a direction graph isn't rotated";

  l.angle = 350000;
  request = scan();
  ASSERT_TRUE(request);
  EXPECT_EQ(request->src, slot(10).surface);
  EXPECT_EQ(l.flags, 6);

  l.angle = -INT32_MAX;
  ASSERT_TRUE(scan());
  EXPECT_EQ(l.angle, 360000 - INT32_MAX % 360000);
}

TEST_F(ProcessScan, OddCases) {
  add_library(2);
  add_graph(0, 1);
  add_graph(2, 1);
  add_graph(0, 1000);
  orb_process &process = host.spawn();
  orb_locals &l = *process.locals;
  l.graph = 1;

  l.angle = 360000;
  ASSERT_TRUE(scan());
  EXPECT_EQ(scan()->blit_op, ORBGI2D_Blit);
  EXPECT_EQ(l.angle, 360000) << "the local keeps its value";
  l.angle = -90000;
  EXPECT_EQ(scan()->angle, -90000);

  l.resolution = 10;
  l.x = 1234;
  l.y = -1234;
  EXPECT_EQ(scan()->x, 123);
  EXPECT_EQ(scan()->y, -123);

  l.destination_graph = 1000;
  EXPECT_TRUE(scan());
  l.file = 2;
  EXPECT_FALSE(scan()) << "the source library's bound holds for the destination";
  l.destination_graph = 0;

  // The scan calls replaced entries.
  device2D.ORBGI2D_BlitRotate = [](__ORBBlit2D__ *) { return 77; };
  EXPECT_EQ(scan()->blit_op(nullptr), 77);
  static __ORBBlit2D__ own;
  own = {};
  device2D.GetAndUpdateBlitList = [] { return &own; };
  EXPECT_FALSE(scan());
  EXPECT_EQ(own.owner, &process);
  // A full list that cannot grow ends the scan.
  static int32_t asked;
  asked = 0;
  device2D.GetAndUpdateBlitList = []() -> __ORBBlit2D__ * { return ++asked, nullptr; };
  host.spawn().locals->graph = 1;
  EXPECT_FALSE(scan());
  EXPECT_EQ(asked, 1);

  // A host without locals, nodes without a process, no screen yet.
  device2D.GetAndUpdateBlitList = GetAndUpdateBlitList;
  process.locals = nullptr;
  EXPECT_TRUE(scan());
  EXPECT_EQ(GetNumsBlitOnList(), 1);
  __ORBSurface2D__ *const former = screen;
  screen = nullptr;
  EXPECT_FALSE(scan());
  screen = former;
  orb_process_services services = *host.table.rt_processes;
  services.proc_first = [](int32_t) -> orb_process_node * {
    static orb_process_node node;
    node = {};
    return &node;
  };
  host.table.rt_processes = &services;
  EXPECT_FALSE(scan());
}

} // namespace
