/* Sound for pages: what SDL would give to a device, at any time that the page likes. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/* Samples a second and side of the open device, which has 16 bits in stereo; 0 if none is open. */
int orb_sound_rate(void);

/* Fills so many bytes: silence while SDL's audio is paused, or closed. */
void orb_pull_sound(void *samples, int bytes);

#ifdef __cplusplus
}
#endif
