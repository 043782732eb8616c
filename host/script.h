// A Lua 5.4 script that runs in a Host, with processes as coroutines.
//
// What a script sees:
//
// - Every registered function under its name. The form is chosen by the number and kinds of the
//   arguments: a number for "I" (a fraction is cut off, a large one wraps to 32 bits) or a process
//   (its id); a string or nil for "S"; a table or nil for "IP". The elements 1..#t of a table are
//   read before the call and written after it (an empty table gets one). "IP"s left out at the end
//   come back as further results. Results: "I" signed, "DW" unsigned, "F" a float, "S" a string.
// - Constants, which can't be assigned (a text that does so isn't compiled), and script globals,
//   which can: `fps`, `draw_z`. Arrays count from 0 as the engine's do: `video_modes[0].width`,
//   `#video_modes`. `mouse` has the fields of its struct, and `left`, `middle`, `right` (booleans).
// - Processes. `spawn(body, {x = 10}, ...)` makes one, which runs body(self, ...): for the first
//   time in the frame in which it was spawned, after all older processes had their turn. `frame()`
//   ends the turn; a body that returns ends the process. A process has its locals (`p.x`: a
//   fraction is rounded down for the module, and given back to the script until somebody else
//   writes the local; `p.xgraph` takes a table of graph codes or nil and gives a copy), `p.id`,
//   `p.type`, and any other field, which is the script's own. The script itself is a process,
//   `main`: without a graph, and with the turns that its top level takes by calling frame(). Play
//   ends when no process is left.
// - kill(p), sleep(p) (neither drawn nor run), freeze(p) (drawn, not run), wake(p), alive(p), also
//   as methods; p may be an id. process(id) returns the process with that id, or nil; type_of(body)
//   the type of the processes that run that function, type_of(p) that of a process.
// - write(text, {x = 10, colour = ...}) makes a text: a process without a body, which shows its
//   fields `text`, `colour`, `font` and `align`, and lives until it is killed. Play doesn't wait
//   for texts. text_graph(text, {colour = ...}) makes a graph of the script's own, font_load(file,
//   size) a font; text_width and text_height measure.
// - key(name), pressed(name), released(name), pad(number, axis), pad_count(), typed(text), clock():
//   what the player's hands do, and the milliseconds of play; see the reference.
// - Sounds and music: sound_load and the others of reference/sound.md. A file that can't be loaded
//   is a Lua error.
// - quit() (play ends with this frame), seed(n), list_folder(name) (the sorted names of the files in
//   a folder, or nil and a message), save_folder() (the path of the folder for what the game saves).
// - Lua's own library, where names of files lead by the rule of host/files.h.
// - The script's arguments, in `arg` and as the script's `...`. `require` looks beside the script
//   first, then in ../lib.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

struct lua_State;

namespace orbhost {

class Host;

// A script can't be loaded or has failed. what() is the message and the traceback; it begins with
// `file.lua:12: `.
class ScriptError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

struct ScriptOptions {
  bool strict = false;    // errors that the module reports become Lua errors
  std::uint32_t seed = 1; // of math.random
  std::vector<std::string> arguments;
  // What os.time() tells as play begins; it, os.date() and os.clock() then go by the host's clock.
  // Nothing: by the machine's.
  std::optional<std::int64_t> started;
  std::size_t most_processes = 200'000; // spawn() fails beyond it: bodies may spawn themselves
};

struct ScriptState;

// One script in one Host, which has a module attached and outlives it. Takes over the Host's
// on_error: a report made by a call is printed with the script's line in front. The processes that
// a script has made are ended by it, or with it.
class Script {
public:
  Script(Host &host, ScriptOptions options);
  ~Script();
  Script(const Script &) = delete;
  Script &operator=(const Script &) = delete;

  // Compiles the file, or a text with a name for messages, and creates the main process. The file's
  // folder becomes the folder of the Host's files. Throws ScriptError.
  void load_file(const std::string &path);
  void load_text(const std::string &text, const std::string &name);

  // One frame: events and mouse, a turn for every running process in list order, then the module's
  // frame hook and the clock. False when play is over: no process is left, or the script or the
  // window asked to quit, or it was interrupted; this frame is still drawn. Throws ScriptError;
  // nothing runs after that.
  bool frame();

  // Ends play; may be called in a signal handler. The turn under way has a tenth of a second to
  // end; then frame() throws ScriptError with the line, "interrupted" and a traceback. What holds
  // the script up inside one call of a library, or of the module, isn't stopped, nor is a message
  // handler.
  void interrupt();

  // The Lua state, for a program that gives its scripts more functions, or calls theirs.
  [[nodiscard]] lua_State *lua() const;

private:
  std::unique_ptr<ScriptState> state_;
};

} // namespace orbhost
