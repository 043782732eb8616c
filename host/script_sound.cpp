// Sounds and music for scripts.
#include "host/diagnosis.h"
#include "host/script_arguments.h"
#include "host/script_state.h"

#include <filesystem>

namespace orbhost {
namespace {

namespace fs = std::filesystem;

Sound &sound_of(lua_State *L) {
  return state_of(L).host.sound();
}

std::int32_t loaded_sound(lua_State *L, const char *form) {
  const std::int32_t sound = check_number(L, 1, parameter(form, "sound"));
  if (!sound_of(L).has(sound))
    throw HostError(std::string(form) + ": no sound " + std::to_string(sound) + " is loaded");
  return sound;
}

// Does something with the path of the file that argument 1 names. What it throws gets the function
// and the name in front.
template <typename Action>
void with_file(lua_State *L, const char *form, const char *function, Action action) {
  const std::string name = check_text(L, 1, parameter(form, "name"));
  const Host &host = state_of(L).host;
  try {
    const std::string path = host.files().resolve(name.c_str(), false).value_or("");
    std::error_code ignored;
    if (!fs::exists(path, ignored)) throw HostError(missing_file(host, name));
    action(path);
  } catch (const HostError &error) {
    throw HostError(std::string(function) + ": " + name + ": " + error.what());
  }
}

int sound_load(lua_State *L) {
  std::int32_t sound = 0;
  with_file(L, "sound_load(name)", "sound_load",
            [&](const std::string &path) { sound = sound_of(L).load(path); });
  lua_pushinteger(L, sound);
  return 1;
}

int sound_unload(lua_State *L) {
  sound_of(L).unload(loaded_sound(L, "sound_unload(sound)"));
  return 0;
}

int sound_play(lua_State *L) {
  constexpr const char *form = "sound_play(sound, loops, volume, pan)";
  const std::int32_t sound = loaded_sound(L, form);
  const std::int32_t loops = check_number_or(0, L, 2, parameter(form, "loops"));
  const std::int32_t volume = check_number_or(100, L, 3, parameter(form, "volume"));
  const std::int32_t pan = check_number_or(0, L, 4, parameter(form, "pan"));
  lua_pushinteger(L, sound_of(L).play(sound, loops, volume, pan));
  return 1;
}

// Without an argument it stops all; nil is no voice.
int sound_stop(lua_State *L) {
  if (lua_isnone(L, 1))
    sound_of(L).stop_all();
  else
    sound_of(L).stop(check_number(L, 1, parameter("sound_stop(voice)", "voice")));
  return 0;
}

int sound_playing(lua_State *L) {
  lua_pushboolean(L, sound_of(L).playing(check_number(L, 1, parameter("sound_playing(voice)", "voice"))));
  return 1;
}

int sound_volume(lua_State *L) {
  constexpr const char *form = "sound_volume(voice, volume)";
  const std::int32_t voice = check_number(L, 1, parameter(form, "voice"));
  sound_of(L).set_volume(voice, check_number(L, 2, parameter(form, "volume")));
  return 0;
}

int sound_pan(lua_State *L) {
  constexpr const char *form = "sound_pan(voice, pan)";
  const std::int32_t voice = check_number(L, 1, parameter(form, "voice"));
  sound_of(L).set_pan(voice, check_number(L, 2, parameter(form, "pan")));
  return 0;
}

int music_play(lua_State *L) {
  constexpr const char *form = "music_play(name, loops)";
  const std::int32_t loops = check_number_or(-1, L, 2, parameter(form, "loops"));
  if (loops != 0 && loops != -1)
    throw HostError(std::string(form) + ": loops is " + std::to_string(loops) +
                    ", not 0 (once) or -1 (for ever)");
  with_file(L, form, "music_play",
            [&](const std::string &path) { sound_of(L).play_music(path, loops != 0); });
  return 0;
}

int music_stop(lua_State *L) {
  sound_of(L).stop_music();
  return 0;
}

template <bool paused> int set_music_paused(lua_State *L) {
  sound_of(L).pause_music(paused);
  return 0;
}

int music_playing(lua_State *L) {
  lua_pushboolean(L, sound_of(L).music_playing());
  return 1;
}

int music_volume(lua_State *L) {
  sound_of(L).set_music_volume(check_number(L, 1, parameter("music_volume(volume)", "volume")));
  return 0;
}

int master_volume(lua_State *L) {
  sound_of(L).set_master_volume(check_number(L, 1, parameter("master_volume(volume)", "volume")));
  return 0;
}

constexpr luaL_Reg functions[] = {
    {"sound_load", guarded<sound_load>},
    {"sound_unload", guarded<sound_unload>},
    {"sound_play", guarded<sound_play>},
    {"sound_stop", guarded<sound_stop>},
    {"sound_playing", guarded<sound_playing>},
    {"sound_volume", guarded<sound_volume>},
    {"sound_pan", guarded<sound_pan>},
    {"music_play", guarded<music_play>},
    {"music_stop", guarded<music_stop>},
    {"music_pause", guarded<set_music_paused<true>>},
    {"music_resume", guarded<set_music_paused<false>>},
    {"music_playing", guarded<music_playing>},
    {"music_volume", guarded<music_volume>},
    {"master_volume", guarded<master_volume>},
    {nullptr, nullptr},
};

} // namespace

void open_sound(ScriptState &state) {
  lua_pushglobaltable(state.L);
  luaL_setfuncs(state.L, functions, 0);
  lua_pop(state.L, 1);
}

} // namespace orbhost
