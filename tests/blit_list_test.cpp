// Blit lists: registry, growth, limits, and depth order against std::stable_sort.
#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "blit/blit_list.h"
#include "fake_runtime.h"

namespace {

struct BlitList : testing::Test {
  fake_runtime host;

  BlitList() { EXPECT_EQ(ORBGI2D_Internal_CreateBlitLists(), 1); }
  ~BlitList() override { ORBGI2D_Internal_DeleteBlitLists(); }

  /// Fills the current list with requests at these depths, numbered in `link`.
  static void fill(const std::vector<int32_t> &depths) {
    ResetBlitList();
    for (size_t i = 0; i < depths.size(); ++i) {
      __ORBBlit2D__ *request = GetAndUpdateBlitList();
      ASSERT_TRUE(request);
      request->z = depths[i];
      request->link = int32_t(i);
    }
  }

  /// Sorts the current list and compares the order with a stable sort of the depths.
  static void expect_sorted(const std::vector<int32_t> &depths) {
    fill(depths);
    SortBlitList();
    std::vector<int32_t> expected(depths.size()), seen;
    for (size_t i = 0; i < expected.size(); ++i)
      expected[i] = int32_t(i);
    std::stable_sort(expected.begin(), expected.end(),
                     [&](int32_t a, int32_t b) { return depths[size_t(a)] > depths[size_t(b)]; });
    for (size_t i = 0; i < depths.size(); ++i)
      seen.push_back(pBlitList2D->order[i]->link);
    EXPECT_TRUE(seen == expected) << depths.size() << " requests";
  }
};

TEST_F(BlitList, RegistryGrowsAndFindsLists) {
  for (int32_t i = 0; i < 23; ++i) {
    EXPECT_EQ(CreateBlitList(("list " + std::to_string(i)).c_str(), 2, 1), i);
    EXPECT_EQ(pBlitList2D->name, "list " + std::to_string(i));
  }
  EXPECT_EQ(pBlitLists2D->capacity, 24u);
  EXPECT_EQ(pBlitLists2D->count, 23u);
  EXPECT_EQ(pBlitLists2D->next_index, 23u);

  // The current list stays current when the registry moves.
  EXPECT_EQ(UseBlitList(3), 1);
  for (int32_t i = 0; i < 10; ++i)
    EXPECT_EQ(ORBGI2D_Internal_ResizeBlitLists(), 1);
  EXPECT_STREQ(GetPtrBlitList()->name, "list 3");

  EXPECT_EQ(UseBlitList(23), 0);
  EXPECT_EQ(UseBlitList(-1), 0);
  EXPECT_EQ(GetPtrBlitList(), &pBlitLists2D->lists[3]);
}

TEST_F(BlitList, RefusedArguments) {
  EXPECT_EQ(CreateBlitList(nullptr, 1, 1), -1);
  EXPECT_EQ(CreateBlitList("a", 0, 1), -1);
  EXPECT_EQ(CreateBlitList("a", 4294967295u, 1), -1);
  EXPECT_EQ(CreateBlitList("a", 1, 0), -1);
  EXPECT_EQ(pBlitLists2D->count, 0u);
  EXPECT_TRUE(host.fatals.empty());
  // Without a list every operation reports an error.
  EXPECT_EQ(GetAndUpdateBlitList(), nullptr);
  EXPECT_EQ(GetNumsBlitOnList(), 0);
  EXPECT_EQ(GetNumBlitOnList(0), nullptr);
}

/// The list grows when its last slot is taken; old contents stay, new slots are zero.
TEST_F(BlitList, Growth) {
  ASSERT_EQ(CreateBlitList("grows", 4, 3), 0);
  for (int32_t i = 0; i < 3; ++i)
    GetAndUpdateBlitList()->x = 100 + i;
  EXPECT_EQ(pBlitList2D->capacity, 4u);
  GetAndUpdateBlitList()->x = 103;
  EXPECT_EQ(pBlitList2D->capacity, 7u);
  EXPECT_EQ(pBlitList2D->order_capacity, 7u);
  const __ORBBlit2D__ zero{};
  for (int32_t i = 0; i < 40; ++i) {
    __ORBBlit2D__ *request = GetAndUpdateBlitList();
    EXPECT_EQ(memcmp(request, &zero, sizeof zero), 0);
    request->x = 104 + i;
  }
  EXPECT_EQ(GetNumsBlitOnList(), 44);
  for (int32_t i = 0; i < 44; ++i)
    EXPECT_EQ(GetNumBlitOnList(i)->x, 100 + i);
  EXPECT_EQ(GetNumBlitOnList(44), nullptr);
  EXPECT_EQ(GetNumBlitOnList(-1), nullptr);
  const uint32_t capacity = pBlitList2D->capacity;
  ResetBlitList();
  EXPECT_EQ(GetNumsBlitOnList(), 0);
  EXPECT_EQ(pBlitList2D->capacity, capacity);
}

/// A grown list's order table still points at the same requests: an operation may take requests
/// while the frame is drawn.
TEST_F(BlitList, OrderSurvivesGrowth) {
  ASSERT_EQ(CreateBlitList("moves", 8, 1000), 0);
  fill({1, 5, 3, 9});
  SortBlitList();
  for (int32_t i = 0; i < 20; ++i)
    EXPECT_EQ(ResizeBlitList(), 1);
  const int32_t expected[] = {3, 1, 2, 0};
  for (int32_t i = 0; i < 4; ++i) {
    EXPECT_EQ(pBlitList2D->order[i], &pBlitList2D->requests[expected[i]]);
    EXPECT_EQ(pBlitList2D->order[i]->link, expected[i]);
  }
}

/// A host whose rt_fatal returns finds the state unchanged.
TEST_F(BlitList, FatalReports) {
  EXPECT_EQ(CreateBlitList("huge", 4294967294u, 1), -1);
  EXPECT_EQ(pBlitLists2D->count, 0u);
  ASSERT_EQ(host.fatals.size(), 1u);
  EXPECT_EQ(host.fatals.back(), "huge: Error to create BLIT2D space");
  EXPECT_EQ(host.levels.back(), 2);

  ASSERT_EQ(CreateBlitList("list", 2, 4294967290u), 0);
  ASSERT_TRUE(GetAndUpdateBlitList());
  EXPECT_EQ(GetAndUpdateBlitList(), nullptr);
  EXPECT_EQ(host.fatals.back(), "list: Error to resize BLIT2D list");
  EXPECT_EQ(GetNumsBlitOnList(), 1);
  EXPECT_EQ(pBlitList2D->capacity, 2u);

  pBlitList2D->capacity = 4294967294u;
  EXPECT_EQ(ResizeBlitList(), 0);
  EXPECT_EQ(host.fatals.back(), "list: BLIT2D list out of capacity");
  pBlitList2D->capacity = 2;

  pBlitLists2D->capacity = 2147483647;
  EXPECT_EQ(ORBGI2D_Internal_ResizeBlitLists(), 0);
  EXPECT_EQ(host.fatals.back(), "GRAPHICS2D: BLIT2D lists out of capacity");
  pBlitLists2D->capacity = 2147483646;
  EXPECT_EQ(ORBGI2D_Internal_ResizeBlitLists(), 0);
  EXPECT_EQ(host.fatals.back(), "GRAPHICS2D: Error to Resize BLIT2D list");
  pBlitLists2D->capacity = 4;

  // A name longer than the message buffer is truncated; the message stays whole.
  const std::string name(1000, 'n'), text = ": Error to create BLIT2D space";
  EXPECT_EQ(CreateBlitList(name.c_str(), 4294967294u, 1), -1);
  EXPECT_EQ(host.fatals.back(), std::string(299 - text.size(), 'n') + text);
  EXPECT_EQ(host.fatals.size(), 6u);
}

TEST_F(BlitList, ChangeCopiesMostWords) {
  ASSERT_EQ(CreateBlitList("change", 4, 4), 0);
  __ORBBlit2D__ given, *taken = GetAndUpdateBlitList();
  constexpr uint32_t words = sizeof given / 4;
  uint32_t before[words], from[words], after[words];
  for (uint32_t i = 0; i < words; ++i)
    before[i] = 1000 + i, from[i] = 2000 + i;
  memcpy(taken, before, sizeof before);
  memcpy(&given, from, sizeof from);
  EXPECT_EQ(ChangeBlitList(1, &given), -1);
  EXPECT_EQ(ChangeBlitList(-1, &given), -1);
  EXPECT_EQ(ChangeBlitList(0, nullptr), -1);
  EXPECT_EQ(memcmp(taken, before, sizeof before), 0);

  EXPECT_EQ(ChangeBlitList(0, &given), 0);
  memcpy(after, taken, sizeof after);
  // drawn, two reserved words, tfmorder, own_region, a reserved word, dst
  const uint32_t kept[] = {2, 7, 8, 20, 36, 41, 43};
  for (uint32_t i = 0; i < words; ++i) {
    const bool stays = std::find(std::begin(kept), std::end(kept), i) != std::end(kept);
    EXPECT_EQ(after[i], stays ? before[i] : from[i]) << "word " << i;
  }
}

TEST_F(BlitList, DepthOrder) {
  ASSERT_EQ(CreateBlitList("order", 16, 1024), 0);
  expect_sorted({5, 5, 1});
  expect_sorted({1, 5, 5});
  expect_sorted({INT32_MIN, INT32_MAX, 0, -1, INT32_MAX, INT32_MIN, 1});

  std::mt19937 random(1);
  const auto pick = [&](int64_t low, int64_t high) {
    return int32_t(std::uniform_int_distribution<int64_t>(low, high)(random));
  };
  // One to four digits of the key, on both sides of the size where the method changes.
  const std::pair<int64_t, int64_t> ranges[] = {{-3, 3},
                                                {0, 2046},
                                                {-1, 2047},
                                                {-100, 4194303},
                                                {-100, 4194304},
                                                {0, INT32_MAX},
                                                {-255, 1000},
                                                {INT32_MIN, INT32_MAX},
                                                {INT32_MAX - 1, INT32_MAX},
                                                {INT32_MIN, INT32_MIN + 1}};
  for (const auto &[low, high] : ranges) {
    for (const int32_t size : {1, 2, 3, 17, 199, 200, 201, 2000, 30000}) {
      std::vector<int32_t> depths;
      for (int32_t i = 0; i < size; ++i)
        depths.push_back(pick(low, high));
      depths.front() = int32_t(low);
      depths.back() = int32_t(high);
      expect_sorted(depths);
      std::sort(depths.rbegin(), depths.rend()); // already sorted
      expect_sorted(depths);
      std::swap(depths.front(), depths.back());
      expect_sorted(depths);
      std::reverse(depths.begin(), depths.end());
      expect_sorted(depths);
    }
  }
}

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ORB_UNDER_ASAN 1
#endif
#endif

/// Without memory for the sort, the order is the same.
TEST_F(BlitList, DepthOrderWithoutMemory) {
#ifdef ORB_UNDER_ASAN
  GTEST_SKIP() << "the sanitizer's allocator doesn't fail";
#else
  ASSERT_EQ(CreateBlitList("tight", 100000, 1), 0);
  std::mt19937 random(2);
  std::vector<int32_t> depths(99999);
  for (int32_t &z : depths)
    z = int32_t(random() % 1000) - 500;
  fill(depths);
  std::vector<int32_t> expected(depths.size());
  for (size_t i = 0; i < expected.size(); ++i)
    expected[i] = int32_t(i);
  std::stable_sort(expected.begin(), expected.end(),
                   [&](int32_t a, int32_t b) { return depths[size_t(a)] > depths[size_t(b)]; });

  rlimit former;
  ASSERT_EQ(getrlimit(RLIMIT_AS, &former), 0);
  const rlimit none = {1, former.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_AS, &none), 0);
  void *const block = malloc(1600000); // the memory the sort would use
  SortBlitList();
  setrlimit(RLIMIT_AS, &former);
  EXPECT_EQ(block, nullptr);
  free(block);
  size_t wrong = 0;
  for (size_t i = 0; i < expected.size(); ++i)
    wrong += pBlitList2D->order[i]->link != expected[i];
  EXPECT_EQ(wrong, 0u);
#endif
}

} // namespace
