#include "host/host.h"

#include "host/diagnosis.h"
#include "host/runtime_table.h"

#include <SDL.h>
#include <dlfcn.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>

namespace orbhost {
namespace {

// The host's own declarations: it owns the mouse, and the module reads it by this name.
constexpr const char *host_globals = "struct mouse int file = 0; int graph = 0; int x = 0; "
                                     "int y = 0; int angle = 0; int size = 100; int flags = 0; "
                                     "end ";
constexpr std::size_t kept_errors = 1000;
constexpr std::int32_t not_saved = 123; // the code of the script error

} // namespace

Host::Host(Options options)
    : options_(std::move(options)), clock_(options_.virtual_clock),
      sound_(clock_, !options_.headless && !options_.mute) {
  RuntimeTable::activate(*this);
  full_screen = options_.full_screen ? 1 : 0;
  frame_rate = clock_.rate();
  device_system.desktop_width = options_.desktop_width;
  device_system.desktop_height = options_.desktop_height;
  processes_.set_locals(&locals_);
}

Host::~Host() {
  release();
  RuntimeTable::deactivate();
  if (library_) dlclose(library_);
}

void Host::load(const std::string &path) {
  void *library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!library) throw HostError(dlerror());
  auto *entry =
      reinterpret_cast<orb_main_library_exports *>(dlsym(library, ORB_MAIN_LIBRARY_EXPORTS));
  if (!entry) {
    dlclose(library);
    throw HostError(path + ": not a graphics module (no " ORB_MAIN_LIBRARY_EXPORTS ")");
  }
  library_ = library;
  attach(entry);
}

void Host::attach(orb_main_library_exports *entry) {
  if (attached_) throw HostError("a module is attached already");
  attached_ = true;
  const orb_registration table = RuntimeTable::registration();
  if (entry(&table) != 1) throw HostError("the module refused to register");
  globals_.append(registration_.globals);
  globals_.append(host_globals);
  locals_.append(registration_.locals);
  memory_.resize(globals_.words());
  globals_.initialise(memory_);
  runtime.rt_globals = reinterpret_cast<std::uint8_t *>(memory_.data());
}

void Host::prepare_video() {
  if (options_.headless) {
    setenv("SDL_VIDEODRIVER", "dummy", 1);
    return;
  }
  if (SDL_WasInit(SDL_INIT_VIDEO)) return; // by the program, whose window it is
  // Without a display SDL would fall back to drawing with characters in the terminal.
  setenv("SDL_VIDEODRIVER", "x11", 0);
  setenv("SDL_VIDEO_CENTERED", "1", 0);
  // Opening SDL here gives the desktop's size before the module sets a mode, and a clear error if
  // there is no display.
  if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) {
    throw HostError(std::string("no display: ") + SDL_GetError());
  }
  started_video_ = true;
  if (const SDL_VideoInfo *info = SDL_GetVideoInfo(); info && info->current_w > 0) {
    device_system.desktop_width = info->current_w;
    device_system.desktop_height = info->current_h;
  }
  input_.use_pads();
  SDL_WM_SetCaption(options_.title.c_str(), options_.title.c_str());
}

void Host::init() {
  if (!attached_ || initialised_) throw HostError("init without a module, or a second time");
  prepare_video();
  initialised_ = true;
  run_hooks(ORB_HOOK_INIT);
  clock_.start();
}

void Host::run_hooks(std::int32_t kind) {
  for (const Hook &hook : registration_.hooks) {
    if (hook.kind == kind) hook.function();
  }
}

// The picture is scaled and centred on the display, with equal borders.
Host::Place Host::picture_place() const {
  const SDL_Surface *display = SDL_WasInit(SDL_INIT_VIDEO) ? SDL_GetVideoSurface() : nullptr;
  if (!screen() || !display) return {};
  int left = 0, top = 0;
  if (const orb_device2d *record = device()) {
    if (record->GetEmulatedMode && record->GetEmulatedMode()) {
      left = record->GetEmulatedXOffset();
      top = record->GetEmulatedYOffset();
    }
    if (record->GetVirtualResolution && record->GetVirtualResolution()) {
      left += record->GetVirtualResolutionXOffset();
      top += record->GetVirtualResolutionYOffset();
    }
  }
  return {left, top, std::max(display->w - 2 * left, 1), std::max(display->h - 2 * top, 1)};
}

void Host::update_mouse() {
  const Place place = picture_place();
  if (place.width == 0) return;
  const auto scale = [](int position, int shown, std::uint32_t size) {
    const std::int64_t at = std::int64_t{position} * size / shown;
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(at, 0, std::int64_t{size} - 1));
  };
  global("mouse", 2) = scale(input_.pointer.x - place.left, place.width, screen()->width);
  global("mouse", 3) = scale(input_.pointer.y - place.top, place.height, screen()->height);
}

void Host::begin_frame() {
  input_.pump();
  update_mouse();
}

void Host::end_frame() {
  run_hooks(ORB_HOOK_FRAME);
  processes_.frame_ended();
  input_.end_frame();
  clock_.next_frame();
  renderer_busy = clock_.frame().late ? 1 : 0;
  frame_rate = clock_.rate();
}

void Host::frame() {
  if (!initialised_ || released_) throw HostError("frame outside init and release");
  begin_frame();
  end_frame();
}

void Host::release() {
  if (!initialised_ || released_) return;
  released_ = true;
  processes_.kill_all();
  run_hooks(ORB_HOOK_RELEASE);
  if (started_video_) SDL_QuitSubSystem(SDL_INIT_VIDEO);
}

std::int32_t Host::call(std::string_view name, std::vector<Argument> arguments) {
  const auto form = best_form(registration_, name, arguments);
  if (!form) {
    const std::string forms = registration_.describe_forms(name);
    throw HostError(std::string(name) +
                    (forms.empty() ? ": no such function" : ": no form fits; forms: " + forms));
  }
  return call_form(registration_.functions[*form], std::move(arguments));
}

std::string Host::call_text(std::string_view name, std::vector<Argument> arguments) {
  const std::int32_t word = call(name, std::move(arguments));
  const char *text = reinterpret_cast<const char *>(static_cast<std::uintptr_t>(word));
  return text ? text : "";
}

std::int32_t Host::call_form(const Function &function, std::vector<Argument> arguments) {
  call_.begin(std::move(arguments));
  return run(function);
}

// The close service has no result, so the module takes a file that is lost on closing for saved.
// The caller gets the report of any other file that couldn't be written.
std::int32_t Host::fail_save(const Function &function) {
  ErrorReport loss{not_saved, function.name, ORB_VALUE_STRING, 0, 0, {}};
  for (char &c : loss.function)
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  // In every call that saves, the first text is the file's name.
  for (const ArgumentWord &argument : call_.words()) {
    ++loss.position;
    if (argument.kind == Argument::Kind::text && argument.word) {
      loss.text = static_cast<const char *>(argument.address());
      break;
    }
  }
  report(std::move(loss));
  call_.set_result(failure_value);
  return failure_value;
}

std::int32_t &Host::global(std::string_view name, std::uint32_t index) {
  const Declaration *declaration = globals_.find(name);
  if (!declaration || index >= declaration->words()) {
    throw HostError("no script global " + std::string(name) + "[" + std::to_string(index) + "]");
  }
  return memory_[declaration->word + index];
}

std::int32_t Host::constant(std::string_view name) const {
  for (const Constant &constant : registration_.constants) {
    if (constant.name == name) return constant.value;
  }
  throw HostError("no constant " + std::string(name));
}

std::vector<ErrorReport> Host::take_errors() {
  const std::deque<ErrorReport> taken = std::exchange(errors_, {});
  return {taken.begin(), taken.end()};
}

void Host::report(ErrorReport report) {
  if (errors_.size() >= kept_errors) errors_.pop_front();
  errors_.push_back(report);
  if (on_error)
    on_error(report);
  else
    std::fprintf(stderr, "%s\n", diagnose(*this, report).c_str());
}

std::optional<std::size_t> best_form(const Registration &registration, std::string_view name,
                                     const std::vector<Argument> &arguments) {
  const auto fits = [&](const Argument &argument, ArgumentType type) {
    using Kind = Argument::Kind;
    const bool null = argument.kind() != Kind::integer && argument.word() == 0;
    switch (type) {
    case ArgumentType::integer:
      return argument.kind() == Kind::integer ||
             (argument.kind() == Kind::text && takes_text_for_int(name));
    case ArgumentType::string: return argument.kind() == Kind::text || null;
    case ArgumentType::pointer: return argument.kind() == Kind::pointer || null;
    }
    return false;
  };
  for (const std::size_t form : registration.forms(name)) {
    if (std::ranges::equal(arguments, registration.functions[form].arguments, fits)) return form;
  }
  return std::nullopt;
}

} // namespace orbhost
