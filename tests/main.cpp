// The test program: GoogleTest's suites, and the cases of the transcripts.
#include <gtest/gtest.h>

#include "support/transcript.h"
#include "support/world.h"

int main(int count, char **arguments) {
  testing::InitGoogleTest(&count, arguments);
  register_transcripts(tests_folder("transcripts"));
  register_transcripts(tests_folder("hostile"));
  return RUN_ALL_TESTS();
}
