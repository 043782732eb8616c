// Blit lists through the device record: depth order, growth, limits.
#include <algorithm>
#include <cstring>

#include <gtest/gtest.h>

#include "blit/blit_list.h"
#include "blit/depth_sort.h"
#include "support/failing_allocator.h"
#include "support/random.h"
#include "support/world.h"

namespace {

struct BlitLists : testing::Test {
  world w;
  const orb_device2d &device = *w.host.device();
  random_source random{base_seed()};

  /// `count` depths, the first two at the ends of the range.
  std::vector<int32_t> any_depths(int32_t low, int32_t high, size_t count) {
    std::vector<int32_t> depths = {low, high};
    while (depths.size() < count)
      depths.push_back(random.between(low, high));
    return depths;
  }
  /// Requests at these depths, sorted, must stand in the order of a stable sort.
  void expect_sorted(const std::vector<int32_t> &depths) {
    device.ResetBlitList();
    std::vector<int32_t> expected, seen;
    for (const int32_t z : depths) {
      __ORBBlit2D__ *const request = device.GetAndUpdateBlitList();
      request->z = z;
      expected.push_back(request->link = int32_t(expected.size()));
    }
    std::stable_sort(expected.begin(), expected.end(),
                     [&](int32_t a, int32_t b) { return depths[size_t(a)] > depths[size_t(b)]; });
    device.SortBlitList();
    for (size_t i = 0; i < depths.size(); ++i)
      seen.push_back(device.GetPtrBlitList()->order[i]->link);
    EXPECT_TRUE(seen == expected) << depths.size() << ": " << depths[0] << ", " << depths[1];
  }
};

TEST_F(BlitLists, AreOrderedByDepth) {
  device.CreateBlitList("order", 16, 1024);
  // One to three digits of the key, on both sides of the size where the method changes.
  constexpr int32_t ranges[][2] = {{-3, 3},         {0, 2047},       {-1, 2047},
                                   {-100, 4194203}, {-100, 4194204}, {INT32_MIN, INT32_MAX}};
  for (const auto &[low, high] : ranges)
    for (const size_t size : {2, 3, 199, 200, 201, 30000}) {
      std::vector<int32_t> depths = any_depths(low, high, size);
      expect_sorted(depths);
      std::sort(depths.rbegin(), depths.rend()); // in order already
      expect_sorted(depths);
      std::swap(depths.front(), depths.back());
      expect_sorted(depths);
    }
}

TEST_F(BlitLists, AreOrderedWithoutMemory) {
  device.CreateBlitList("tight", 100000, 1);
  const std::vector<int32_t> depths = any_depths(-500, 500, 99000);
  free_sort_scratch();
  const allocation_fault fault(1, fault_scope::module, fault_kind::onwards);
  expect_sorted(depths);
  EXPECT_TRUE(fault.reached());
}

TEST_F(BlitLists, StayAsTheyAreWithoutMemory) {
  const auto without = [](uint32_t request, auto act) {
    const allocation_fault fault(request, fault_scope::module, fault_kind::once);
    return act();
  };
  const auto create = [this] { return device.CreateBlitList("list", 2, 2); };
  ASSERT_EQ(create(), 1);
  EXPECT_EQ(without(3, create), -1);
  EXPECT_FALSE(without(2, ResizeBlitList));
  EXPECT_EQ(w.reports(), "fatal \"list: Error to create BLIT2DZOrder table\"; "
                         "fatal \"list: Error to resize BLIT2DZOrder table\"");
  EXPECT_EQ(device.GetPtrBlitList()->capacity, 2u);
  ORBGI2D_Internal_DeleteBlitLists();
  EXPECT_FALSE(without(2, ORBGI2D_Internal_CreateBlitLists));
  EXPECT_EQ(create(), -1);
  EXPECT_TRUE(!device.GetAndUpdateBlitList() && !device.GetNumsBlitOnList());
}

/// A list grows when its last request is taken. What it holds stays, and so does its order: an
/// operation may take requests while a frame is drawn.
TEST_F(BlitLists, Grow) {
  ASSERT_EQ(device.CreateBlitList("grows", 4, 3), 1);
  expect_sorted({1, 5, 3});
  const orb_blit_list &list = *device.GetPtrBlitList();
  const __ORBBlit2D__ zero{};
  for (int32_t i = 3; i < 500; ++i) {
    __ORBBlit2D__ *const request = device.GetAndUpdateBlitList();
    ASSERT_EQ(memcmp(request, &zero, sizeof zero), 0) << i;
    request->link = i;
    ASSERT_EQ(list.capacity, uint32_t(4 + i / 3 * 3));
    ASSERT_EQ(list.capacity, list.order_capacity);
  }
  for (int32_t i = 0; i < device.GetNumsBlitOnList(); ++i)
    ASSERT_EQ(GetNumBlitOnList(i)->link, i);
  EXPECT_TRUE(!GetNumBlitOnList(500) && !GetNumBlitOnList(-1));
  for (const auto &[place, request] : {std::pair(0, 1), {1, 2}, {2, 0}})
    EXPECT_EQ(list.order[place], &list.requests[request]);
}

TEST_F(BlitLists, AreNamedAndMany) {
  const auto name = [](int32_t i) { return "list " + std::to_string(i); };
  for (int32_t i = 1; i < 32; ++i) // 0 is the module's own
    ASSERT_EQ(device.CreateBlitList(name(i).c_str(), 2, 1), i);
  EXPECT_EQ(device.UseBlitList(3), 1);
  ORBGI2D_Internal_ResizeBlitLists(); // the current list stays current when the records move
  EXPECT_EQ(device.UseBlitList(32) + device.UseBlitList(-1), 0);
  EXPECT_EQ(device.GetPtrBlitList()->name, name(3));
}

TEST_F(BlitLists, HaveLimits) {
  const auto create = [this](const char *name, uint32_t capacity, uint32_t step) {
    return device.CreateBlitList(name, capacity, step);
  };
  EXPECT_EQ(create(nullptr, 1, 1) + create("a", 0, 1) + create("a", UINT32_MAX, 1), -3);
  EXPECT_EQ(create("a", 1, 0), -1);
  EXPECT_EQ(w.reports(), "");
  // A name too long for the message is cut.
  EXPECT_EQ(create(std::string(1000, 'n').c_str(), UINT32_MAX - 1, 1), -1);
  const std::string text = ": Error to create BLIT2D space\"";
  EXPECT_EQ(w.reports(), "fatal \"" + std::string(300 - text.size(), 'n') + text);
  ASSERT_EQ(create("list", 2, UINT32_MAX - 5), 1);
  EXPECT_TRUE(device.GetAndUpdateBlitList());
  EXPECT_FALSE(device.GetAndUpdateBlitList()); // there is no room for so large a step
  EXPECT_EQ(w.reports(), "fatal \"list: Error to resize BLIT2D list\"");
  EXPECT_EQ(device.GetNumsBlitOnList(), 1);
  pBlitList2D->capacity = UINT32_MAX - 1;
  EXPECT_FALSE(ResizeBlitList());
  EXPECT_EQ(w.reports(), "fatal \"list: BLIT2D list out of capacity\"");
  pBlitLists2D->capacity = INT32_MAX;
  EXPECT_FALSE(ORBGI2D_Internal_ResizeBlitLists());
  EXPECT_EQ(w.reports(), "fatal \"GRAPHICS2D: BLIT2D lists out of capacity\"");
  pBlitLists2D->capacity = INT32_MAX - 1;
  EXPECT_FALSE(ORBGI2D_Internal_ResizeBlitLists());
  EXPECT_EQ(w.reports(), "fatal \"GRAPHICS2D: Error to Resize BLIT2D list\"");
}

/// QUIRK: a change keeps `drawn`, two words behind the drawn box, `tfmorder`, `own_region`, the
/// word before `src`, and `dst`.
TEST_F(BlitLists, ChangeMostWordsOfARequest) {
  device.CreateBlitList("change", 4, 4);
  auto *const taken = reinterpret_cast<uint32_t *>(device.GetAndUpdateBlitList());
  __ORBBlit2D__ given;
  constexpr uint32_t words = sizeof given / 4;
  for (uint32_t i = 0; i < words; ++i) {
    taken[i] = 1000 + i;
    reinterpret_cast<uint32_t *>(&given)[i] = 2000 + i;
  }
  EXPECT_EQ(device.ChangeBlitList(1, &given) + device.ChangeBlitList(-1, &given), -2);
  EXPECT_EQ(device.ChangeBlitList(0, nullptr), -1);
  EXPECT_EQ(device.ChangeBlitList(0, &given), 0);
  for (uint32_t i = 0; i < words; ++i) {
    const bool kept = i == 2 || i == 7 || i == 8 || i == 20 || i == 36 || i == 41 || i == 43;
    EXPECT_EQ(taken[i], (kept ? 1000 : 2000) + i) << "word " << i;
  }
  device.ResetBlitList(); // the words are no request
}

} // namespace
