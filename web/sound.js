// Sound: samples as the worker gives them, one after the other.

let audio = null; // of all players: browsers allow few
let heard = 0;    // players

// Browsers are silent until the user has done something; one that is asked before complains.
function wakeSound() {
  if (navigator.userActivation && !navigator.userActivation.hasBeenActive) return;
  if (!audio && window.AudioContext) audio = new AudioContext({ sampleRate: 44100, latencyHint: 'interactive' });
  if (audio && audio.state !== 'running') audio.resume().catch(() => {});
}

// Where the sound of one player goes.
function soundOutput() {
  let gain = null, next = 0, muted = false, skipping = false;
  return {
    get muted() { return muted; },
    set muted(now) {
      muted = now;
      if (gain) gain.gain.value = muted ? 0 : 1;
    },
    // `samples`: 16 bits, left and right by turns.
    hear({ rate, samples }) {
      if (!audio || audio.state !== 'running') return;
      if (!gain) {
        gain = audio.createGain();
        gain.gain.value = muted ? 0 : 1;
        gain.connect(audio.destination);
        ++heard;
      }
      const values = new Int16Array(samples), count = values.length / 2;
      const buffer = audio.createBuffer(2, count, rate);
      for (let side = 0; side < 2; ++side) {
        const to = buffer.getChannelData(side);
        for (let i = 0; i < count; ++i) to[i] = values[2 * i + side] / 32768;
      }
      // Behind: begin anew, a little later. Far ahead, as after a late frame, whose sound comes with the
      // next: pass over, until no more is in store than at first.
      const store = next - audio.currentTime;
      skipping = store > (skipping ? 0.1 : 0.25);
      if (skipping) return;
      if (store < 0) next = audio.currentTime + 0.02;
      const source = audio.createBufferSource();
      source.buffer = buffer;
      source.connect(gain);
      source.start(next);
      next += count / rate;
    },
    end() {
      if (!gain) return;
      gain.disconnect();
      gain = null;
      if (--heard === 0) audio.suspend().catch(() => {}); // or it would work on
    },
  };
}
