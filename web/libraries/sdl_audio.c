/* SDL's audio driver "dummy" for pages, in place of SDL's own, which wants a thread. It opens, so
   that the mixer can look at music; nothing asks the mixer for what it would play. */
#include "SDL_config.h"

#include "SDL_audio.h"
#include "SDL_stdinc.h"
#include "SDL_sysaudio.h"

static int available(void) {
  const char *name = SDL_getenv("SDL_AUDIODRIVER");
  return name && SDL_strcmp(name, "dummy") == 0;
}

/* Other than 0: SDL starts no thread. */
static int open_audio(SDL_AudioDevice *device, SDL_AudioSpec *spec) {
  (void)device, (void)spec;
  return 1;
}

static void do_nothing(SDL_AudioDevice *device) { (void)device; }
static Uint8 *no_buffer(SDL_AudioDevice *device) {
  (void)device;
  return NULL;
}
static void free_device(SDL_AudioDevice *device) { SDL_free(device); }

static SDL_AudioDevice *create_device(int index) {
  SDL_AudioDevice *device = SDL_calloc(1, sizeof *device);
  (void)index;
  if (!device) return NULL;
  device->OpenAudio = open_audio;
  device->WaitAudio = do_nothing;
  device->PlayAudio = do_nothing;
  device->GetAudioBuf = no_buffer;
  device->CloseAudio = do_nothing;
  device->free = free_device;
  return device;
}

AudioBootStrap DUMMYAUD_bootstrap = {"dummy", "silence for pages", available, create_device};
