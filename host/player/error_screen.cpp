#include "host/player/error_screen.h"

#include "host/player/canvas.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace orbplay {
namespace {

constexpr int around = 3; // lines of source before and after the failing one
constexpr int margin = 12;
constexpr Colour background = 0x182030;

std::string without_tabs(const std::string &line) {
  std::string text;
  for (const char c : line) {
    if (c == '\t')
      text += "  ";
    else if (c != '\r')
      text += c;
  }
  return text;
}

// Breaks a line that is wider than the window, at a blank where there is one.
std::vector<std::string> broken(std::string line, int width) {
  std::vector<std::string> parts;
  while (Canvas::text_width(line) > width && line.size() > 8) {
    std::size_t fit = line.size();
    while (fit > 8 && Canvas::text_width(line.substr(0, fit)) > width)
      --fit;
    const std::size_t blank = line.rfind(' ', fit);
    const std::size_t end = blank == std::string::npos || blank < fit / 2 ? fit : blank + 1;
    parts.push_back(line.substr(0, end));
    line = "    " + line.substr(end);
  }
  parts.push_back(line);
  return parts;
}

} // namespace

ErrorScreen::ErrorScreen(const std::string &message, const std::string &help) {
  std::istringstream in(message);
  std::string line;
  while (std::getline(in, line) && line != "stack traceback:")
    lines_.push_back({without_tabs(line), Line::Kind::message});
  // The first begins with the place: "game.lua:12: what went wrong".
  const std::string first = lines_.empty() ? "" : lines_.front().text;
  if (const std::size_t end = first.find(".lua:"); end != std::string::npos)
    add_source(first.substr(0, end + 4), std::atoi(first.c_str() + end + 5));
  if (line == "stack traceback:") lines_.push_back({"called from", Line::Kind::trace});
  while (std::getline(in, line))
    lines_.push_back({without_tabs(line), Line::Kind::trace});
  lines_.push_back({"", Line::Kind::help});
  lines_.push_back({help, Line::Kind::help});
}

void ErrorScreen::add_source(const std::string &file, int line) {
  std::ifstream in(file);
  std::string text;
  lines_.push_back({"", Line::Kind::source});
  for (int number = 1; number <= line + around && std::getline(in, text); ++number) {
    if (number < line - around) continue;
    char label[16];
    std::snprintf(label, sizeof label, "%5d  ", number);
    lines_.push_back({label + without_tabs(text),
                      number == line ? Line::Kind::failing_source : Line::Kind::source});
  }
  lines_.push_back({"", Line::Kind::source});
}

void ErrorScreen::paint(SDL_Surface &surface) const {
  Canvas canvas(surface);
  canvas.fill(0, 0, canvas.width(), canvas.height(), background);
  const int scale = canvas.width() >= 900 ? 2 : 1;
  const int width = (canvas.width() - 2 * margin) / scale;
  const int height = (Canvas::line_height() + 2) * scale;
  int y = margin;
  for (const Line &line : lines_) {
    Colour colour = 0x90A0B8;
    switch (line.kind) {
    case Line::Kind::message: colour = 0xFFFFFF; break;
    case Line::Kind::failing_source: colour = 0xFFD060; break;
    case Line::Kind::source: colour = 0xB8C8D8; break;
    case Line::Kind::trace: break;
    case Line::Kind::help: colour = 0x70C0FF; break;
    }
    if (line.kind == Line::Kind::failing_source)
      canvas.fill(0, y - 1, canvas.width(), height, 0x503020);
    for (const std::string &part : broken(line.text, width)) {
      canvas.text(margin, y, part, colour, scale);
      y += height;
    }
  }
}

} // namespace orbplay
