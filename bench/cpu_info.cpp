#include "cpu_info.h"

#include <cpuid.h>
#include <cstring>
#include <thread>

namespace orbbench {

std::string cpu_maker() {
  unsigned highest, words[3];
  if (!__get_cpuid(0, &highest, &words[0], &words[2], &words[1])) return "unknown";
  const std::string maker(reinterpret_cast<const char *>(words), sizeof words);
  return maker == "AuthenticAMD" ? "AMD" : maker == "GenuineIntel" ? "Intel" : maker;
}

std::string cpu_description() {
  std::string name;
  for (unsigned leaf = 0x80000002; leaf <= 0x80000004; ++leaf) {
    unsigned words[4];
    if (!__get_cpuid(leaf, &words[0], &words[1], &words[2], &words[3])) break;
    name.append(reinterpret_cast<const char *>(words), sizeof words);
  }
  name.resize(strlen(name.c_str()));
  name.erase(0, name.find_first_not_of(' '));
  name.erase(name.find_last_not_of(' ') + 1);

  __builtin_cpu_init();
  std::string sets;
#define ORB_ADD_IF_THERE(set, text)                                                                \
  if (__builtin_cpu_supports(set)) sets += text;
  ORB_ADD_IF_THERE("sse2", " SSE2")
  ORB_ADD_IF_THERE("ssse3", " SSSE3")
  ORB_ADD_IF_THERE("sse4.1", " SSE4.1")
  ORB_ADD_IF_THERE("avx", " AVX")
  ORB_ADD_IF_THERE("avx2", " AVX2")
  ORB_ADD_IF_THERE("avx512bw", " AVX-512BW")
#undef ORB_ADD_IF_THERE
  return name + " (" + cpu_maker() + "), " + std::to_string(std::thread::hardware_concurrency()) +
         " threads;" + sets;
}

} // namespace orbbench
