#include "support/transcript.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <cstddef>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

#include "blit/blit.h"
#include "blit/blit_list.h"
#include "frame/draw_objects.h"
#include "frame/process_scan.h"
#include "hostile/digest.h"
#include "support/failing_allocator.h"
#include "support/recording.h"
#include "support/registration.h"
#include "support/world.h"
#include "surface/registry.h"
#include "surface/screen.h"

namespace {

using word_list = std::vector<std::string>;

/// A line of a transcript: what is done, and after the arrow what must come of it.
struct transcript_line {
  int number;
  word_list words, outcome;
  bool has_outcome = false;
  bool starved = false, own = false, partial = false; // see starve()
};

struct transcript_case {
  std::string title;
  word_list depths = {"32"};
  bool bare = false; // no mode is set
  std::vector<transcript_line> lines;
  std::vector<std::string> refusals; // reports that a starved line may make
};

/// Words are separated by blanks; a text in quotes, with a word before it (x="..."), is one word.
word_list split(const std::string &text) {
  word_list words;
  bool quoted = false, inside = false;
  for (const char c : text) {
    if (c == ' ' && !quoted) {
      inside = false;
      continue;
    }
    if (!inside) words.emplace_back();
    inside = true;
    quoted ^= c == '"';
    words.back() += c;
  }
  return words;
}

std::string joined(const word_list &words, size_t from = 0) {
  std::string text;
  for (size_t i = from; i < words.size(); ++i)
    text += (i == from ? "" : " ") + words[i];
  return text;
}

bool is_quoted(const std::string &word) {
  return !word.empty() && word.front() == '"';
}
std::string unquoted(const std::string &word) {
  return word.substr(1, word.size() - 2);
}

std::string upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return toupper(c); });
  return text;
}

std::string hex(uint32_t value, int digits) {
  char text[9];
  snprintf(text, sizeof text, "%0*X", digits, value);
  return text;
}

std::vector<transcript_case> read_cases(const std::filesystem::path &path) {
  std::ifstream in(path);
  std::vector<transcript_case> cases;
  std::string text;
  for (int number = 1; std::getline(in, text); ++number) {
    if (text.empty() || text.front() == '#') continue;
    if (text.starts_with("== ")) {
      cases.emplace_back().title = text.substr(3);
      continue;
    }
    if (cases.empty()) throw std::runtime_error(path.string() + ": a line before the first case");
    transcript_line line;
    line.number = number;
    const size_t arrow = text.find(" -> ");
    line.words = split(text.substr(0, arrow));
    line.has_outcome = arrow != std::string::npos;
    if (line.has_outcome) line.outcome = split(text.substr(arrow + 4));
    transcript_case &current = cases.back();
    for (const auto &[word, flag] :
         {std::pair("starve", &line.starved), {"own", &line.own}, {"partial", &line.partial}})
      if (line.words[0] == word) {
        *flag = true;
        line.words.erase(line.words.begin());
      }
    if (line.words[0] == "refusal")
      current.refusals.push_back(joined(line.words, 1));
    else if (line.words[0] == "depth")
      current.depths.assign(line.words.begin() + 1, line.words.end());
    else if (line.words[0] == "bare")
      current.bare = true;
    else
      current.lines.push_back(line);
  }
  return cases;
}

// ---- Words of records ---------------------------------------------------------------------------

struct record_field {
  const char *name;
  size_t offset;
};

#define ORB_FIELD(record, name)                                                                    \
  { #name, offsetof(record, name) }
constexpr record_field process_fields[] = {
    ORB_FIELD(orb_process, type),
    ORB_FIELD(orb_process, status),
    ORB_FIELD(orb_process, coordinates),
};
constexpr record_field request_fields[] = {
    ORB_FIELD(__ORBBlit2D__, link),     ORB_FIELD(__ORBBlit2D__, drawn),
    ORB_FIELD(__ORBBlit2D__, drawn_x0), ORB_FIELD(__ORBBlit2D__, drawn_y0),
    ORB_FIELD(__ORBBlit2D__, drawn_x1), ORB_FIELD(__ORBBlit2D__, drawn_y1),
    ORB_FIELD(__ORBBlit2D__, x),        ORB_FIELD(__ORBBlit2D__, y),
    ORB_FIELD(__ORBBlit2D__, z),        ORB_FIELD(__ORBBlit2D__, region),
    ORB_FIELD(__ORBBlit2D__, angle),    ORB_FIELD(__ORBBlit2D__, flags),
    ORB_FIELD(__ORBBlit2D__, alpha),    ORB_FIELD(__ORBBlit2D__, own_region),
};
#undef ORB_FIELD

constexpr struct {
  const char *name;
  orb_blit_operation *operation;
} operations[] = {{"none", nullptr},
                  {"Blit", ORBGI2D_Blit},
                  {"BlitBlock", ORBGI2D_BlitBlock},
                  {"BlitScale", ORBGI2D_BlitScale},
                  {"BlitRotate", ORBGI2D_BlitRotate},
                  {"BlitRotScale", ORBGI2D_BlitRotScale},
                  {"BlitScaleShear", ORBGI2D_BlitScaleShear},
                  {"BlitRotScaleShear", ORBGI2D_BlitRotScaleShear},
                  {"BlitTile", ORBGI2D_BlitTile}};

template <size_t n>
int32_t *find_word(void *record, const record_field (&fields)[n], const std::string &name) {
  for (const record_field &field : fields)
    if (name == field.name)
      return reinterpret_cast<int32_t *>(static_cast<char *>(record) + field.offset);
  return nullptr;
}

/// `screen`, `ground`, `FILE/GRAPH` or `none`.
std::string name_of(const __ORBSurface2D__ *surface) {
  if (!surface) return "none";
  if (surface == screen) return "screen";
  if (surface == ground) return "ground";
  for (int32_t file = 0; file < max_fpg; ++file)
    for (int32_t graph = 1; graph < graph_bound(file); ++graph)
      if (const orb_map_slot *slot = GetMAP(file, graph); slot && slot->surface == surface)
        return std::to_string(file) + "/" + std::to_string(graph);
  return "unknown";
}

// ---- Playing ------------------------------------------------------------------------------------

class transcript_player {
public:
  /// `trace` takes what each line shows, instead of comparing it.
  transcript_player(std::filesystem::path file, const transcript_case &played, int32_t depth,
                    std::vector<std::string> *trace = nullptr, const host_change &change = {})
      : file_(std::move(file)), case_(played), depth_(depth), trace_(trace), world_(change) {
    if (!case_.bare) world_.set_mode(depth_);
    const std::string reports = world_.reports();
    if (!trace_) EXPECT_EQ(reports, "");
  }

  /// Plays the lines before `end`; all of them if it is null.
  void play(const transcript_line *end = nullptr) {
    for (const transcript_line &line : case_.lines)
      if (&line == end)
        break;
      else
        play_line(line);
  }
  void play_line(const transcript_line &line) {
    const std::string before = line.starved && !trace_ ? digest() : "";
    try {
      run(line);
    } catch (const std::exception &problem) {
      fail(line, problem.what());
    }
    if (line.starved && !trace_) digests.emplace_back(before, digest());
  }
  std::string digest() const { return digest_of(world_.folder.path); }

  /// Before and after each starved line.
  std::vector<std::pair<std::string, std::string>> digests;

private:
  std::filesystem::path file_;
  const transcript_case &case_;
  int32_t depth_;
  std::vector<std::string> *trace_;
  world world_;
  std::map<std::string, int32_t> names_; // $name: results that were given a name, processes
  std::vector<int32_t> out_;             // what the last call wrote through pointers

  void fail(const transcript_line &line, const std::string &text) {
    if (trace_)
      trace_->push_back(text);
    else
      ADD_FAILURE_AT(file_.c_str(), line.number) << joined(line.words) << ": " << text;
  }

  // -- Values

  /// 12, -1, 0xFF, $name, or the name of a constant.
  std::optional<int32_t> number(const std::string &word) const {
    char *end = nullptr;
    const int64_t number = strtoll(word.c_str(), &end, 0);
    if (!word.empty() && !*end) return int32_t(number);
    if (const auto named = names_.find(word); named != names_.end()) return named->second;
    for (const orbhost::Constant &constant : world_.host.registration().constants)
      if (constant.name == word) return constant.value;
    return {};
  }
  int32_t value(const std::string &word) const {
    const std::optional<int32_t> found = number(word);
    if (!found) throw std::invalid_argument("nothing is called " + word);
    return *found;
  }

  orb_process *process(const std::string &name) {
    return orbhost::ProcessList::process(value(name));
  }

  /// The word of a local or a field of the record.
  int32_t *process_word(orb_process *of, const std::string &name) {
    if (int32_t *word = find_word(of, process_fields, name)) return word;
    const orbhost::Declaration *local = world_.host.locals().find(name);
    if (!local) throw std::invalid_argument("no local " + name);
    return reinterpret_cast<int32_t *>(of->locals) + local->word;
  }

  /// `name`, `name.field`, `name[3].field`.
  int32_t &global(const std::string &name) {
    const size_t bracket = name.find('['), dot = name.find('.');
    const std::string top = name.substr(0, std::min(bracket, dot));
    const orbhost::Declaration *declared = world_.host.globals().find(top);
    if (!declared) throw std::invalid_argument("no global " + top);
    size_t index = 0;
    if (bracket != std::string::npos)
      index = size_t(std::stoi(name.substr(bracket + 1))) * declared->fields.size();
    if (dot != std::string::npos) {
      const auto field =
          std::find_if(declared->fields.begin(), declared->fields.end(),
                       [&](const orbhost::Variable &f) { return f.name == name.substr(dot + 1); });
      if (field == declared->fields.end()) throw std::invalid_argument("no field: " + name);
      index += size_t(field - declared->fields.begin());
    }
    return world_.host.global(top, uint32_t(index));
  }

  // -- Outcomes

  /// Holds what happened against what is written after the arrow; numbers may be written in any
  /// way. A $name takes a number and keeps it.
  void expect(const transcript_line &line, const word_list &seen) {
    if (trace_) {
      word_list shown = seen; // processes by name: their ids differ from world to world
      for (const auto &[name, known] : names_)
        if (world_.host.processes().exists(known))
          std::replace(shown.begin(), shown.end(), std::to_string(known), name);
      trace_->push_back(joined(shown));
      if (line.has_outcome && line.outcome[0].front() == '$')
        names_.try_emplace(line.outcome[0], value(seen[0]));
      return;
    }
    bool same = line.has_outcome && seen.size() == line.outcome.size();
    for (size_t i = 0; same && i < seen.size(); ++i) {
      const std::string &wanted = line.outcome[i];
      if (wanted.front() == '$' && !names_.contains(wanted))
        names_[wanted] = value(seen[i]);
      else if (wanted != seen[i])
        same = number(wanted) && number(wanted) == number(seen[i]);
    }
    if (!same) fail(line, joined(seen) + (line.has_outcome ? ", not " + joined(line.outcome) : ""));
  }
  /// Like expect, for a sum: recording writes the new one into the transcript.
  void expect_sum(const transcript_line &line, uint32_t sum) {
    const std::string seen = hex(sum, 8);
    if (trace_) return trace_->push_back(seen);
    if (line.has_outcome && joined(line.outcome) == seen) return;
    if (recording())
      record_outcome(file_, line.number, seen);
    else
      fail(line, seen + ", not " + joined(line.outcome));
  }

  /// Reports since the last look as words, the function left out where it is `usual`.
  void add_reports(word_list &seen, const std::string &usual) {
    for (const std::string &word : split(world_.reports()))
      if (word != usual) seen.push_back(word);
  }

  // -- What lines do

  void run(const transcript_line &line) {
    using verb = void (transcript_player::*)(const transcript_line &);
    static const std::map<std::string, verb> verbs = {
        {"call", &transcript_player::call},       {"out", &transcript_player::out},
        {"spawn", &transcript_player::spawn},     {"set", &transcript_player::set},
        {"local", &transcript_player::local},     {"kill", &transcript_player::kill},
        {"as", &transcript_player::become},       {"frame", &transcript_player::frame},
        {"scan", &transcript_player::scan},       {"requests", &transcript_player::requests},
        {"request", &transcript_player::request}, {"hook", &transcript_player::hook},
        {"many", &transcript_player::many},       {"global", &transcript_player::global},
        {"row", &transcript_player::row},         {"paint", &transcript_player::paint},
        {"show", &transcript_player::show},       {"crc", &transcript_player::crc},
        {"file", &transcript_player::file},       {"bytes", &transcript_player::bytes},
        {"write", &transcript_player::write},     {"data", &transcript_player::data}};
    const auto found = verbs.find(line.words[0]);
    if (found == verbs.end()) throw std::invalid_argument("no such line");
    (this->*found->second)(line);
    if (const std::string late = world_.reports(); !late.empty()) fail(line, "also " + late);
  }

  /// call NAME ARGUMENTS -> RESULT. `&` is a pointer to an int, `&3` one to three, `null` a null.
  void call(const transcript_line &line) {
    const std::string &name = line.words.at(1);
    out_.clear();
    out_.reserve(4096); // pointers into it stay valid
    std::vector<orbhost::Argument> arguments;
    for (size_t i = 2; i < line.words.size(); ++i) {
      const std::string &word = line.words[i];
      if (word.front() == '&') {
        const size_t at = out_.size(), count = word.size() > 1 ? std::stoul(word.substr(1)) : 1;
        out_.resize(at + count, -7777);
        arguments.emplace_back(&out_[at]);
      } else if (is_quoted(word)) {
        arguments.emplace_back(unquoted(word));
      } else if (word == "null") {
        arguments.emplace_back(static_cast<const char *>(nullptr));
      } else {
        arguments.emplace_back(value(word));
      }
    }
    orbhost::Host &host = world_.host;
    const auto form = orbhost::best_form(host.registration(), name, arguments);
    if (!form) throw std::invalid_argument("no such form");
    const orbhost::Function &function = host.registration().functions[*form];
    for (size_t i = 0; i < arguments.size(); ++i) // a null is what the form has in its place
      if (line.words[i + 2] == "null" && function.arguments[i] == orbhost::ArgumentType::pointer)
        arguments[i] = static_cast<int32_t *>(nullptr);
    const int32_t result = host.call_form(function, arguments);
    if (host.call_frame().unfetched() || host.call_frame().bad_fetches())
      fail(line, "its arguments are fetched wrongly");
    if (host.files().open_count()) fail(line, "leaves a stream open");

    word_list seen;
    if (result == orbhost::failure_value) {
      seen.push_back("fail");
    } else if (function.result == orbhost::ResultType::string) {
      const char *text = reinterpret_cast<const char *>(result);
      seen.push_back(text ? '"' + std::string(text) + '"' : "null");
    } else if (function.result == orbhost::ResultType::real) {
      std::ostringstream number;
      number << std::bit_cast<float>(result);
      seen.push_back(number.str());
    } else {
      seen.push_back(std::to_string(result));
    }
    add_reports(seen, upper(name));
    expect(line, seen);
  }

  /// out VALUES: what the last call wrote through its pointers; `-` is untouched.
  void out(const transcript_line &line) {
    word_list seen;
    for (const int32_t word : out_)
      seen.push_back(word == -7777 ? "-" : std::to_string(word));
    if (joined(seen) != joined(line.words, 1)) fail(line, joined(seen));
  }

  /// spawn $name local=value ...
  void spawn(const transcript_line &line) {
    orb_process *const made = world_.host.spawn();
    names_[line.words.at(1)] = orbhost::ProcessList::id(made);
    set(line);
  }
  /// set $name local=value ...; xgraph=a,b,c sets direction graphs, x@3=... no more than a word.
  void set(const transcript_line &line) {
    orb_process *const of = process(line.words.at(1));
    for (size_t i = 2; i < line.words.size(); ++i) {
      const auto [key, text] = halves(line.words[i]);
      if (key == "xgraph") {
        std::vector<int32_t> codes;
        std::istringstream parts(text);
        for (std::string part; std::getline(parts, part, ',');)
          codes.push_back(value(part));
        world_.host.processes().set_xgraph(of, codes);
      } else {
        *process_word(of, key) = value(text);
      }
    }
  }
  static std::pair<std::string, std::string> halves(const std::string &word) {
    const size_t middle = word.find('=');
    if (middle == std::string::npos) throw std::invalid_argument("no value: " + word);
    return {word.substr(0, middle), word.substr(middle + 1)};
  }

  /// local $name local=value ...: as they are now.
  void local(const transcript_line &line) {
    for (size_t i = 2; i < line.words.size(); ++i) {
      const auto [key, text] = halves(line.words[i]);
      compare(line, key, *process_word(process(line.words[1]), key), text);
    }
  }
  void compare(const transcript_line &line, const std::string &key, int32_t word,
               const std::string &text) {
    if (word != value(text)) fail(line, key + " is " + std::to_string(word));
  }

  void kill(const transcript_line &line) { world_.host.kill(process(line.words.at(1))); }

  /// as $name: calls are that process's; `as none`: nobody's.
  void become(const transcript_line &line) {
    world_.host.processes().current = line.words.at(1) == "none" ? nullptr : process(line.words[1]);
  }

  /// frame, frame COUNT, frame -> REPORTS
  void frame(const transcript_line &line) {
    for (int count = line.words.size() > 1 ? value(line.words[1]) : 1; count > 0; --count)
      world_.host.frame();
    word_list seen;
    if (trace_) seen.push_back("frame");
    add_reports(seen, "");
    if (trace_ || line.has_outcome || !seen.empty()) expect(line, seen);
  }

  /// many COUNT LINE: the same line again and again, to fill a list.
  void many(const transcript_line &line) {
    transcript_line again = line;
    again.words.erase(again.words.begin(), again.words.begin() + 2);
    std::vector<std::string> seen, *const former = std::exchange(trace_, &seen);
    for (int count = value(line.words.at(1)); count > 0; --count)
      run(again);
    trace_ = former;
    for (const std::string &each : seen)
      if (each.starts_with("fail")) fail(line, each);
  }

  /// hook init, hook frame, hook release: what the host calls.
  void hook(const transcript_line &line) {
    const std::string &kind = line.words.at(1);
    int32_t result = 0;
    for (const orbhost::Hook &each : world_.host.registration().hooks)
      if (each.kind == (kind == "init"    ? ORB_HOOK_INIT
                        : kind == "frame" ? ORB_HOOK_FRAME
                                          : ORB_HOOK_RELEASE))
        result = each.function();
    word_list seen{std::to_string(result)};
    add_reports(seen, "");
    expect(line, seen);
  }

  /// scan -> COUNT: the requests of processes and draw objects, as the next frame would make them.
  void scan(const transcript_line &line) {
    UseBlitList(graphics2D_blitlist);
    ResetBlitList();
    do_processes();
    do_drawings();
    requests(line);
  }

  /// requests -> COUNT in the current list.
  void requests(const transcript_line &line) {
    expect(line, {std::to_string(GetNumsBlitOnList())});
  }
  /// request INDEX field=value ... op=Blit src=0/1000 dst=screen
  void request(const transcript_line &line) {
    __ORBBlit2D__ *const of = GetNumBlitOnList(value(line.words.at(1)));
    if (!of) throw std::invalid_argument("no such request");
    for (size_t i = 2; i < line.words.size(); ++i) {
      const auto [key, text] = halves(line.words[i]);
      if (const int32_t *const word = find_word(of, request_fields, key)) {
        compare(line, key, *word, text);
        continue;
      }
      std::string seen = name_of(key == "src" ? of->src : of->dst);
      for (const auto &known : operations)
        if (key == "op" && known.operation == of->blit_op) seen = known.name;
      if (seen != text) fail(line, key + " is " + seen);
    }
  }

  /// global NAME=VALUE ... sets; global NAME -> VALUE.
  void global(const transcript_line &line) {
    if (line.has_outcome) return expect(line, {std::to_string(global(line.words.at(1)))});
    for (size_t i = 1; i < line.words.size(); ++i) {
      const auto [key, text] = halves(line.words[i]);
      global(key) = value(text);
    }
  }

  // -- Pixels

  /// The surface that a line is about, and the place in its last two words.
  struct spot {
    __ORBSurface2D__ &surface;
    uint32_t x, y;
  };
  __ORBSurface2D__ &surface(const transcript_line &line) {
    const __ORBSurface2D__ *const found = surface_of({line.words.begin() + 1, line.words.end()});
    if (!found) throw std::invalid_argument("no such surface");
    return const_cast<__ORBSurface2D__ &>(*found);
  }
  spot place(const transcript_line &line) {
    const auto last = line.words.rbegin();
    return {surface(line), uint32_t(value(last[1])), uint32_t(value(last[0]))};
  }

  /// paint SURFACE "12. 456": rows of pixels, 0..15 as hexadecimal digits, `.` for 0.
  void paint(const transcript_line &line) {
    uint32_t y = 0;
    for (const std::string &row : split(unquoted(line.words.back()))) {
      for (uint32_t x = 0; x < row.size(); ++x)
        set_pixel(surface(line), x, y,
                  row[x] == '.' ? 0 : uint32_t(std::stoi(row.substr(x, 1), nullptr, 16)));
      ++y;
    }
  }

  /// show SURFACE X Y -> "12. 456": as many pixels as are written, from (X, Y); `#` is above 15.
  void show(const transcript_line &line) {
    auto [shown, left, y] = place(line);
    std::string seen;
    for (const std::string &row : split(unquoted(line.outcome.at(0)))) {
      seen += seen.empty() ? "" : " ";
      for (uint32_t x = left; x < left + row.size(); ++x) {
        const uint32_t p = pixel(shown, x, y);
        seen += p == 0 ? '.' : p < 16 ? "0123456789ABCDEF"[p] : '#';
      }
      ++y;
    }
    expect(line, {'"' + seen + '"'});
  }

  /// row SURFACE X Y -> FF0000 0 80FFFFFF: pixels to the right of there, as many as are written.
  void row(const transcript_line &line) {
    const auto [shown, left, y] = place(line);
    word_list seen;
    for (uint32_t i = 0; i < std::max<size_t>(line.outcome.size(), 1); ++i)
      seen.push_back(hex(pixel(shown, left + i, y), 1));
    if (seen != line.outcome) fail(line, joined(seen));
  }

  /// crc SURFACE -> SUM, crc file NAME -> SUM
  void crc(const transcript_line &line) {
    if (line.words.at(1) != "file") return expect_sum(line, crc_of(surface(line)));
    const file_bytes content = read_file(path(line.words.at(2)));
    expect_sum(line, sum_of(content.data(), content.size()));
  }

  // -- Files in the world's folder

  std::filesystem::path path(const std::string &name) {
    return world_.folder.path / unquoted(name);
  }

  /// file "NAME" -> SIZE, or missing
  void file(const transcript_line &line) {
    const auto at = path(line.words.at(1));
    const bool exists = std::filesystem::exists(at);
    expect(line, {exists ? std::to_string(std::filesystem::file_size(at)) : "missing"});
  }
  /// bytes "NAME" OFFSET -> 6D 61 70 00*5 "text", as many as are written
  void bytes(const transcript_line &line) {
    const file_bytes content = read_file(path(line.words.at(1)));
    const file_bytes wanted = bytes_from(joined(line.outcome));
    std::string text;
    file_bytes seen;
    for (size_t at = value(line.words.at(2)); at < content.size() && seen.size() < wanted.size();
         ++at) {
      seen.push_back(content[at]);
      text += hex(content[at], 2) + ' ';
    }
    if (seen != wanted) fail(line, text);
  }
  /// write "NAME" 6D 61 70 00*5 "text"
  void write(const transcript_line &line) {
    write_file(path(line.words.at(1)), bytes_from(joined(line.words, 2)));
  }
  /// data "png/rgb.png": a copy of a file of the test data, under its own name without folders.
  void data(const transcript_line &line) {
    const auto from = tests_folder("data") / unquoted(line.words.at(1));
    std::filesystem::copy_file(from, world_.folder.path / from.filename());
  }
};

// ---- Allocations that fail ----------------------------------------------------------------------

/// What a starved line shows in a new world: once with all memory, or with one request failing.
struct starved_world {
  std::vector<std::string> shown;
  transcript_player player;

  starved_world(const std::filesystem::path &file, const transcript_case &played, int32_t depth,
                const transcript_line &line)
      : player(file, played, depth, &shown) {
    player.play(&line);
  }
  std::string play(const transcript_line &line) {
    shown = {""};
    player.play_line(line);
    return shown.back();
  }
};

/// Whether all reports of an outcome begin as a refusal of the case does.
bool is_refusal(const transcript_case &played, const std::string &outcome) {
  const size_t blank = outcome.find(' ');
  std::string reports = (blank < outcome.size() ? outcome.substr(blank + 1) : "silent") + "; ";
  while (!reports.empty()) {
    const auto known =
        std::find_if(played.refusals.begin(), played.refusals.end(), [&](const std::string &text) {
          return reports.starts_with(text + ' ') || reports.starts_with(text + "; ");
        });
    if (known == played.refusals.end()) return false;
    reports.erase(0, reports.find("; ", known->size()) + 2);
  }
  return true;
}

/// Plays a line once for each allocation that it makes, with that one failing, and with that one
/// and all later ones: each time in a new world that the case has been played in up to there. The
/// line shows what it shows with memory, or refuses with reports that the case lists. After a
/// refusal all is as before (unless the line is `partial`), and with memory the same line does all
/// it does undisturbed. Nothing leaks. `own` lines are those that call SDL, which doesn't check its
/// requests.
void starve(const std::filesystem::path &file, const transcript_case &played, int32_t depth,
            const transcript_line &line, const std::pair<std::string, std::string> &digests) {
  std::string expected;
  int32_t kept = 0;
  for (int run = 0; run < 2; ++run) { // the first warms up
    const int32_t blocks = outstanding_blocks(fault_scope::everybody);
    expected = starved_world(file, played, depth, line).play(line);
    kept = outstanding_blocks(fault_scope::everybody) - blocks;
  }
  const auto play_with = [&](uint32_t request, fault_scope scope, fault_kind kind) {
    const int32_t own = outstanding_blocks(fault_scope::module);
    const int32_t all = outstanding_blocks(fault_scope::everybody);
    std::string problem, seen;
    bool reached = false;
    {
      starved_world w(file, played, depth, line);
      {
        const allocation_fault fault(request, scope, kind);
        seen = w.play(line);
        reached = fault.reached();
      }
      if (seen != expected) {
        if (!is_refusal(played, seen)) problem += "isn't a refusal of this case";
        // The usual result with a report means that the work was completed.
        const bool done = seen.starts_with(expected + " ");
        if (!line.partial)
          problem += difference(done ? digests.second : digests.first, w.player.digest());
        const std::string repeated = w.play(line);
        if (repeated != expected && !repeated.empty()) problem += " and then " + repeated;
      }
      problem += difference(digests.second, w.player.digest());
    }
    if (outstanding_blocks(fault_scope::module) != own ||
        outstanding_blocks(fault_scope::everybody) - all != kept)
      problem += " and leaks";
    if (!problem.empty())
      ADD_FAILURE_AT(file.c_str(), line.number)
          << (scope == fault_scope::module ? "own request " : "request ") << request
          << (kind == fault_kind::onwards ? " and all after it" : "") << " failing: " << seen << ' '
          << problem;
    return reached;
  };
  for (const fault_scope scope : {fault_scope::module, fault_scope::everybody})
    for (const fault_kind kind : {fault_kind::once, fault_kind::onwards}) {
      if (scope == fault_scope::everybody && (line.own || !libraries_can_fail)) continue;
      uint32_t request = 1;
      while (request < 20000 && play_with(request, scope, kind))
        ++request;
      if (request == 1 && (scope == fault_scope::everybody || line.own))
        ADD_FAILURE_AT(file.c_str(), line.number) << "asks for no memory";
    }
}

void play_case(const std::filesystem::path &file, const transcript_case &played, int32_t depth) {
  std::vector<std::pair<std::string, std::string>> digests;
  {
    transcript_player player(file, played, depth);
    player.play();
    digests = player.digests;
  }
  size_t next = 0;
  for (const transcript_line &line : played.lines)
    if (line.starved) starve(file, played, depth, line, digests.at(next++));
}

} // namespace

void register_transcripts(const std::filesystem::path &folder) {
  const std::filesystem::directory_iterator entries(folder);
  for (const std::filesystem::path &file : std::set<std::filesystem::path>(begin(entries), {})) {
    if (file.extension() != ".txt") continue;
    for (const transcript_case &played : read_cases(file))
      for (const std::string &depth : played.depths)
        register_case("Transcript_" + file.stem().string(), played.title + ' ' + depth, file, 1,
                      [=] { play_case(file, played, std::stoi(depth)); });
  }
}

std::vector<std::string> trace_of(const std::filesystem::path &file, const std::string &title,
                                  int32_t depth, const host_change &change) {
  std::vector<std::string> trace;
  for (const transcript_case &each : read_cases(file))
    if (each.title == title) transcript_player(file, each, depth, &trace, change).play();
  return trace;
}
