// The host's services as the module calls them: missing services, odd return values, and the slots
// that the module fills in.
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "boundary/runtime.h"
#include "fake_runtime.h"
#include "graphics_fixture.h"

namespace {

struct HostServices : testing::Test {
  fake_runtime host;
  orb_device_system *const former = deviceSystem_graphics2D;

  HostServices() { deviceSystem_graphics2D = &host.system; }
  ~HostServices() override { deviceSystem_graphics2D = former; }

  /// Calls every service and collects the results.
  static std::vector<int32_t> call_all() {
    char buffer[4];
    host_message_box("text", "title");
    host_show_window(1);
    host_move_window(1, 2);
    host_input_reset();
    host_input_grab_mouse(1);
    host_input_reread_window();
    host_input_centre_mouse(1);
    host_timing_set_fps(60, 0);
    host_mode_change(1);
    rt_file_close(buffer);
    return {host_window_handle() != nullptr,
            rt_file_path("name", ORB_PATH_READ) != nullptr,
            rt_file_open("name", ORB_OPEN_READ, nullptr) != nullptr,
            rt_file_read(buffer, 4, 0, buffer),
            rt_file_write(buffer, 4, 0, buffer),
            rt_file_seek(buffer, 0, 0) != 0,
            rt_file_at_end(buffer) != 0};
  }
};

/// Without services nothing opens and nothing is read; empty reads signal the end.
TEST_F(HostServices, Missing) {
  const std::vector<int32_t> nothing{0, 0, 0, 0, 0, 1, 0};
  host.video_hooks.mode_change = nullptr;
  EXPECT_EQ(call_all(), nothing) << "empty tables";
  host.table.rt_video_hooks = nullptr;
  host.system.window = nullptr;
  host.system.file = nullptr;
  host.system.input = nullptr;
  host.system.timing = nullptr;
  EXPECT_EQ(call_all(), nothing) << "no tables";
  deviceSystem_graphics2D = nullptr;
  EXPECT_EQ(call_all(), nothing) << "no record";
}

/// A stream's counts stay within the request, and a count below 1 never reaches the host.
TEST_F(HostServices, OddCounts) {
  static int32_t reply, asked, one;
  host.file.read = [](void *, int32_t size, int32_t count, int32_t, void *) {
    return one = size, asked = count, reply;
  };
  host.file.write = [](const void *, int32_t size, int32_t count, int32_t, void *) {
    return one = size, asked = count, reply;
  };
  char buffer[8];
  for (const auto &[given, kept] :
       {std::pair{8, 8}, {3, 3}, {0, 0}, {-1, 0}, {9, 8}, {INT32_MAX, 8}, {INT32_MIN, 0}}) {
    reply = given;
    EXPECT_EQ(rt_file_read(buffer, 8, 0, buffer), kept);
    EXPECT_EQ(rt_file_write(buffer, 8, 0, buffer), kept);
    EXPECT_EQ(asked, 8);
    EXPECT_EQ(one, 1);
  }
  asked = -1;
  for (const int32_t count : {0, -1, INT32_MIN}) {
    EXPECT_EQ(rt_file_read(buffer, count, 0, buffer), 0);
    EXPECT_EQ(rt_file_write(buffer, count, 0, buffer), 0);
  }
  EXPECT_EQ(asked, -1);
}

TEST_F(HostServices, ArgumentsReachTheHost) {
  static std::string log;
  log.clear();
  host.window.message_box = [](const char *text, const char *title) {
    log += std::string(text) + "|" + title + ";";
  };
  host.window.move_window = [](int32_t x, int32_t y) {
    log += std::to_string(x) + "," + std::to_string(y) + ";";
  };
  host.timing.set_fps = [](int32_t fps, int32_t skip) {
    log += std::to_string(fps) + "/" + std::to_string(skip) + ";";
  };
  host.file.open = [](const char *name, int32_t mode, int32_t one, const char *key) -> void * {
    log += std::string(name) + std::to_string(mode) + std::to_string(one) + key + ";";
    return nullptr;
  };
  host.file.seek = [](void *, int32_t offset, int32_t whence) {
    log += std::to_string(offset) + "@" + std::to_string(whence) + ";";
    return 0;
  };
  host_message_box("text", "title");
  host_move_window(3, 4);
  host_timing_set_fps(50, 2);
  rt_file_open("name", 7, "key");
  EXPECT_EQ(rt_file_seek(nullptr, -5, 2), 0);
  EXPECT_EQ(log, "text|title;3,4;50/2;name71key;-5@2;");
}

struct DeviceRecord : graphics_test {};

/// Every slot with a defined content is filled, and no other.
TEST_F(DeviceRecord, FilledSlots) {
  uint32_t words[87];
  memcpy(words, &device2D, sizeof words);
  const auto empty = [](uint32_t slot) {
    return slot == 1 || slot == 2 || slot == 37 || slot == 62 || slot >= 74;
  };
  for (uint32_t slot = 0; slot < 87; ++slot)
    EXPECT_EQ(words[slot] == 0, empty(slot)) << slot;
}

} // namespace
