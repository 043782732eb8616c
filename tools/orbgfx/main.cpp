// orbgfx: graph libraries and pictures from the shell.
#include "host/module_file.h"
#include "host/output_file.h"
#include "tools/orbgfx/commands.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <unistd.h>

#ifndef ORB_VERSION
#define ORB_VERSION "unknown"
#endif

namespace {

using namespace orbgfx;

// The options and the chosen command.
struct CommandLine {
  Common common;
  std::function<int()> run;
  PackOptions pack;
  UnpackOptions unpack;
  ConvertOptions convert;
  PaletteOptions palette;
  DiffOptions diff;
  std::vector<std::string> files;
};

// CLI11's help without its notes on required and excluded options.
class Formatter : public CLI::Formatter {
public:
  Formatter() { label("Subcommands", "Commands"); }

  std::string make_usage(const CLI::App *app, std::string name) const override {
    std::string usage = "Usage: " + name + " [options]";
    for (const CLI::Option *option : app->get_options()) {
      if (option->nonpositional() && option->get_required())
        usage += " " + option->get_name() + " " + option->get_type_name();
    }
    for (const CLI::Option *option : app->get_options()) {
      if (option->get_positional()) usage += make_option_opts(option);
    }
    if (!app->get_parent()) usage += " COMMAND ...";
    return usage + "\n";
  }
  std::string make_option_opts(const CLI::Option *option) const override {
    if (option->get_type_size() == 0) return {};
    const bool many = option->get_expected_max() == CLI::detail::expected_max_vector_size;
    return " " + option->get_type_name() + (many ? "..." : "");
  }
  std::string make_option_name(const CLI::Option *option, bool positional) const override {
    return positional ? "" : CLI::Formatter::make_option_name(option, positional);
  }
};

CLI::App *add_command(CLI::App &app, CommandLine &line, const char *name, const char *what,
                      std::function<int()> run) {
  CLI::App *command = app.add_subcommand(name, what);
  command->footer("");
  command->callback([&line, run = std::move(run)] { line.run = run; });
  return command;
}

void add_key(CLI::App *command, CommandLine &line, const char *what) {
  command->add_option("--key", line.common.key, what)->type_name("KEY");
}
void add_force(CLI::App *command, CommandLine &line) {
  command->add_flag("-f,--force", line.common.force, "overwrite existing files");
}
void add_json(CLI::App *command, CommandLine &line) {
  command->add_flag("--json", line.common.json, "print JSON");
}
void add_depth(CLI::App *command, int &depth, const char *what) {
  command->add_option("--depth", depth, what)
      ->check(CLI::IsMember({8, 16, 32}).description(""))
      ->type_name("8|16|32");
}

void add_pack(CLI::App &app, CommandLine &line) {
  PackOptions &options = line.pack;
  CLI::App *command = add_command(app, line, "pack", "Put pictures into a library.",
                                  [&line] { return pack(line.pack, line.common); });
  command->add_option("pictures", options.inputs, "\"012_ship.png\" becomes graph 12")
      ->required()
      ->type_name("FILE");
  command->add_option("-o,--output", options.output, "the library")->required()->type_name("FILE");
  add_depth(command, options.depth, "bits a pixel; else as the side file says, or 32");
  command
      ->add_option("--palette", options.palette,
                   "the colours at 8 bits, from a palette, library or picture;\ndefault: those of "
                   "the first picture that has a palette")
      ->type_name("FILE");
  command->add_flag("--compress", options.compress, "compress the library");
  add_key(command, line, "encipher the pixels");
  CLI::Option *named = command->add_option(
      "--side-file", options.side_file,
      "names, descriptions and control points; else the graphs.txt\nbeside the pictures");
  named->type_name("FILE");
  command->add_flag("--no-side-file", options.no_side_file, "take no graphs.txt")->excludes(named);
  add_force(command, line);
}

void add_unpack(CLI::App &app, CommandLine &line) {
  UnpackOptions &options = line.unpack;
  CLI::App *command = add_command(app, line, "unpack", "Write the graphs of a library as pictures.",
                                  [&line] { return unpack(line.unpack, line.common); });
  command->add_option("library", options.input, "an FPG file")->required()->type_name("FILE");
  command->add_option("-o,--output", options.folder, "where to; else the library's name")
      ->type_name("FOLDER");
  command->add_option("--format", options.format, "of the pictures; default: png")
      ->type_name("png|map|bmp|pcx|tga|jpg")
      ->check(CLI::IsMember({"png", "map", "bmp", "pcx", "tga", "jpg"}).description(""));
  add_key(command, line, "of an enciphered library");
  add_force(command, line);
}

void add_convert(CLI::App &app, CommandLine &line) {
  ConvertOptions &options = line.convert;
  CLI::App *command = add_command(app, line, "convert", "Write a file in another format or depth.",
                                  [&line] { return convert(line.convert, line.common); });
  command->add_option("input", options.input, "a picture, MAP or FPG file")
      ->required()
      ->type_name("IN");
  command
      ->add_option("output", options.output,
                   "its extension selects the format: .map .bmp .jpg .pcx .png\n.tga .fpg")
      ->required()
      ->type_name("OUT");
  add_depth(command, options.depth, "bits a pixel; default: those of the input");
  command->add_option("--palette", options.palette, "make an 8-bit picture in these colours")
      ->type_name("FILE");
  command->add_flag("--compress", options.compress, "compress .map, .fpg, .bmp and .tga");
  add_key(command, line, "of an enciphered input");
  command->add_option("--output-key", options.output_key, "encipher the output, .map or .fpg")
      ->type_name("KEY");
  command
      ->add_option("--side-file", options.side_file,
                   "id, texts and control points: read for a .map, written for\nanother picture")
      ->type_name("FILE");
  add_force(command, line);
}

void add_inspection(CLI::App &app, CommandLine &line) {
  CLI::App *info_command = add_command(app, line, "info", "Print what files are.",
                                       [&line] { return info(line.files, line.common); });
  CLI::App *list_command = add_command(app, line, "list", "List the graphs of a file.",
                                       [&line] { return list(line.files.front(), line.common); });
  CLI::App *verify_command = add_command(app, line, "verify", "Check that files are complete.",
                                         [&line] { return verify(line.files, line.common); });
  for (CLI::App *command : {info_command, list_command, verify_command}) {
    CLI::Option *files = command->add_option("files", line.files, "library or picture");
    files->required()->type_name("FILE");
    if (command == list_command) files->expected(1);
    add_key(command, line, "of enciphered files");
    add_json(command, line);
  }
}

void add_palette(CLI::App &app, CommandLine &line) {
  CLI::App *command = add_command(app, line, "palette", "Print or save the palette of a file.",
                                  [&line] { return palette(line.palette, line.common); });
  command->add_option("file", line.palette.input, "a palette, library or picture file")
      ->required()
      ->type_name("FILE");
  command->add_option("-o,--output", line.palette.output, "write a palette file")
      ->type_name("FILE");
  add_key(command, line, "of an enciphered file");
  add_json(command, line);
  add_force(command, line);
}

void add_diff(CLI::App &app, CommandLine &line) {
  CLI::App *command = add_command(app, line, "diff", "Compare two libraries or two pictures.",
                                  [&line] { return diff(line.diff, line.common); });
  command->add_option("first_file", line.diff.first, "a file")->required()->type_name("A");
  command->add_option("second_file", line.diff.second, "another")->required()->type_name("B");
  add_depth(command, line.diff.depth, "bring both to this depth first");
  add_key(command, line, "of enciphered files");
  add_json(command, line);
}

// "pictures and --output FILE are missing".
std::string missing_arguments(const CLI::App &command) {
  std::vector<std::string> missing;
  for (const CLI::Option *option : command.get_options()) {
    if (!option->get_required() || option->count() > 0) continue;
    std::string name = option->get_name();
    std::ranges::replace(name, '_', ' ');
    missing.push_back(option->get_positional() ? name : name + " " + option->get_type_name());
  }
  std::string text;
  for (const std::string &name : missing)
    text += (text.empty() ? "" : " and ") + name;
  return text + (missing.size() == 1 && !text.ends_with('s') ? " is missing" : " are missing");
}

// What is wrong with a command line.
std::string complaint(const CLI::App &app, const CLI::Error &error) {
  const std::vector<CLI::App *> chosen = app.get_subcommands();
  const bool required = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError);
  if (!chosen.empty()) {
    const std::string name = chosen.front()->get_name();
    return name + ": " + (required ? missing_arguments(*chosen.front()) : error.what()) +
           "\n\"orbgfx " + name + " --help\" explains it.\n";
  }
  std::string commands;
  for (const CLI::App *command : app.get_subcommands([](const CLI::App *) { return true; }))
    commands += (commands.empty() ? "" : ", ") + command->get_name();
  std::string what = required ? "a command is missing" : error.what();
  for (const std::string &word : app.remaining())
    what = (word.starts_with('-') ? "no option is called " : "no command is called ") + word;
  return what + "; the commands are " + commands + "\n\"orbgfx --help\" explains them.\n";
}

// SDL takes SIGINT and SIGTERM for an event of its own, which nobody reads here, unless they have a
// handler already.
extern "C" void on_signal(int number) {
  orbhost::remove_unfinished_files();
  _exit(128 + number);
}

// Exits on a usage error, and after --help and --version.
void parse(CommandLine &line, int argc, char **argv) {
  CLI::App app{
      "Makes, takes apart and compares graph libraries (FPG files), and converts pictures.",
      "orbgfx"};
  app.footer("Exit status: 0 ok, 1 failure or difference, 2 usage, 3 file not found.\n"
             "\"orbgfx COMMAND --help\" explains a command.");
  app.formatter(std::make_shared<Formatter>());
  app.failure_message([](const CLI::App *failed, const CLI::Error &error) {
    return "orbgfx: " + complaint(*failed, error);
  });
  app.set_version_flag("--version", "orbgfx " ORB_VERSION);
  app.require_subcommand(1);
  app.fallthrough();
  app.add_option("--module", line.common.module, "load this module file")->type_name("PATH");
  add_pack(app, line);
  add_unpack(app, line);
  add_inspection(app, line);
  add_convert(app, line);
  add_palette(app, line);
  add_diff(app, line);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError &error) {
    const int status = app.exit(error) == 0 ? exit_ok : exit_usage;
    std::fflush(nullptr);
    std::exit(status);
  }
}

} // namespace

int main(int argc, char **argv) {
  std::signal(SIGINT, on_signal);
  std::signal(SIGTERM, on_signal);
  CommandLine line;
  parse(line, argc, argv);
  if (line.common.module.empty()) {
    line.common.module = orbhost::find_module(argc > 0 ? argv[0] : "");
  } else if (line.common.module.find('/') == std::string::npos) {
    line.common.module.insert(0, "./");
  }
  try {
    const int status = line.run();
    if (std::fflush(stdout) != 0)
      throw ToolError(std::string("standard output can't be written: ") + std::strerror(errno));
    return status;
  } catch (const ToolError &error) {
    std::fprintf(stderr, "orbgfx: %s\n", error.what());
    return error.status;
  } catch (const std::exception &error) {
    std::fprintf(stderr, "orbgfx: %s\n", error.what());
    return exit_failure;
  }
}
