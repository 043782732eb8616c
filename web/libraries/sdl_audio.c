/* SDL's audio driver for pages, in place of the one named "dummy": it has no thread. The page pulls
   the samples when it wants them. */
#include "pull_sound.h"

#include "SDL_config.h"

#include "SDL_audio.h"
#include "SDL_stdinc.h"
#include "SDL_sysaudio.h"

static SDL_AudioDevice *device;

int orb_sound_rate(void) { return device ? device->spec.freq : 0; }

void orb_pull_sound(void *samples, int bytes) {
  SDL_memset(samples, 0, (size_t)bytes);
  if (device && !device->paused) device->spec.callback(device->spec.userdata, samples, bytes);
}

static int available(void) { return 1; }

/* All formats are taken as they are asked for. The result isn't 0, so SDL starts no thread. */
static int open_audio(SDL_AudioDevice *opened, SDL_AudioSpec *spec) {
  (void)spec;
  device = opened;
  return 1;
}

static void close_audio(SDL_AudioDevice *closed) {
  (void)closed;
  device = NULL;
}

static void do_nothing(SDL_AudioDevice *unused) { (void)unused; }
static Uint8 *no_buffer(SDL_AudioDevice *unused) {
  (void)unused;
  return NULL;
}
static void free_device(SDL_AudioDevice *unused) { SDL_free(unused); }

static SDL_AudioDevice *create_device(int index) {
  SDL_AudioDevice *created = SDL_calloc(1, sizeof *created);
  (void)index;
  if (!created) return NULL;
  created->OpenAudio = open_audio;
  created->WaitAudio = do_nothing;
  created->PlayAudio = do_nothing;
  created->GetAudioBuf = no_buffer;
  created->CloseAudio = close_audio;
  created->free = free_device;
  return created;
}

AudioBootStrap DUMMYAUD_bootstrap = {"dummy", "sound for pages", available, create_device};
