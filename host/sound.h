// Sounds and music, which SDL_mixer makes audible.
//
// What is playing is decided by the clock and the length of a sound, and not asked of the mixer: a
// script sees the same with a device and without one.
#pragma once

#include "host/clock.h"

#include <array>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

struct Mix_Chunk;
typedef struct _Mix_Music Mix_Music;

namespace orbhost {

// Volumes are percent, 0 to 100; panning is -100 (left) to 100 (right). Values beyond are taken as
// the nearest. Sounds and voices have numbers from 1 on, each given out once.
class Sound {
public:
  // `audible`: the first file that is loaded opens the sound device. If there is none, "no sound:"
  // and the reason are printed on stderr, and all goes on in silence.
  Sound(const Clock &clock, bool audible) : clock_(clock), audible_(audible) {}
  ~Sound();
  Sound(const Sound &) = delete;
  Sound &operator=(const Sound &) = delete;

  // Loads a WAV or Ogg file whole. Throws HostError with the reason; it doesn't name the file.
  std::int32_t load(const std::string &path);
  // Whether a sound of that number is loaded, as the next two demand.
  [[nodiscard]] bool has(std::int32_t sound) const { return sounds_.contains(sound); }
  // Frees a sound; its voices stop.
  void unload(std::int32_t sound);

  // Plays a sound `loops` times more than once, or for ever if `loops` is negative. Returns the
  // voice: this playing of the sound. With 32 voices playing, the one that would end first stops
  // for it. Throws HostError if there is no such sound.
  std::int32_t play(std::int32_t sound, std::int32_t loops, std::int32_t volume, std::int32_t pan);
  [[nodiscard]] bool playing(std::int32_t voice) const;
  // These do nothing to a voice that has ended.
  void stop(std::int32_t voice);
  void set_volume(std::int32_t voice, std::int32_t volume);
  void set_pan(std::int32_t voice, std::int32_t pan);
  void stop_all();

  // Plays a piece of music instead of the one before, from a file of any format that SDL_mixer
  // reads. (Its count of repetitions doesn't know "twice", so there is none here.) Throws HostError
  // as load() does; the piece before then goes on.
  void play_music(const std::string &path, bool forever);
  void stop_music();
  void pause_music(bool paused);
  void set_music_volume(std::int32_t volume); // of all music from now on
  // Whether music was started and not stopped. That a piece has come to its end isn't known.
  [[nodiscard]] bool music_playing() const { return music_playing_; }

  // The volume of everything.
  void set_master_volume(std::int32_t volume);
  // Halts and continues everything, and the time of the voices.
  void pause(bool paused);

private:
  struct Loaded {
    double seconds = 0;
    std::vector<std::int16_t> values; // what the chunk plays; empty without a device
    Mix_Chunk *chunk = nullptr;
  };
  struct Voice {
    std::int32_t number = 0, sound = 0;
    double end = 0; // in seconds of play
    std::int32_t volume = 100;
  };
  static constexpr int channels = 32;

  [[nodiscard]] double now() const;
  void open_device();
  void open_mixer_for_music();
  [[nodiscard]] bool heard() const { return audible_ && mixer_open_; }
  // The channel on which a voice plays; -1 if it has ended.
  [[nodiscard]] int channel_of(std::int32_t voice) const;
  void stop_channel(int channel);
  void pan_channel(int channel, std::int32_t pan);
  void mix_channel(int channel);
  void mix_music();

  const Clock &clock_;
  bool audible_;
  bool mixer_open_ = false;
  int rate_ = 0; // of the device
  std::unordered_map<std::int32_t, Loaded> sounds_;
  std::int32_t last_sound_ = 0, last_voice_ = 0;
  std::array<Voice, channels> voices_; // by the mixer's channel
  Mix_Music *music_ = nullptr;
  std::vector<char> music_file_; // the mixer reads from it
  bool music_playing_ = false;
  std::int32_t music_volume_ = 100, master_volume_ = 100;
};

} // namespace orbhost
