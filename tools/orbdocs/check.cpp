#include "tools/orbdocs/check.h"

#include "host/host.h"
#include "host/script.h"

#include <lua.hpp>

#include <algorithm>
#include <map>
#include <optional>
#include <set>

namespace orbdocs {
namespace {

using orbhost::ArgumentType;
using orbhost::ReferenceEntry;
using orbhost::ReferenceForm;
using orbhost::ReferenceItem;

std::string described(const ReferenceForm &form) {
  std::string text = form.name + "(";
  for (const std::string &parameter : form.parameters)
    text += (&parameter == &form.parameters.front() ? "" : ", ") + parameter;
  return text + ")";
}

bool is_word(std::string_view text) {
  return !text.empty() && std::ranges::all_of(text, [](char c) {
    return c == '_' || (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z');
  });
}

class Check {
public:
  Check(const orbhost::Reference &reference, orbhost::Host &host, orbhost::Script &script)
      : reference_(reference), host_(host), script_(script) {}

  std::vector<std::string> run() {
    for (const orbhost::Function &function : host_.registration().functions)
      registered_[function.name].push_back(&function);
    for (const orbhost::ReferenceFamily &family : reference_.families()) {
      family_ = &family;
      for (const ReferenceEntry &entry : family.entries) {
        entry_ = &entry;
        look_at_entry();
      }
    }
    entry_ = nullptr;
    look_for_missing();
    return std::move(found_);
  }

private:
  void say(const std::string &what) {
    found_.push_back(entry_ ? family_->file + ":" + std::to_string(entry_->line) + ": " +
                                  entry_->names[0] + ": " + what
                            : what);
  }

  const ReferenceItem *parameter(const std::string &name) const {
    for (const ReferenceItem &item : entry_->parameters)
      if (std::ranges::find(item.names, name) != item.names.end()) return &item;
    return nullptr;
  }

  // The registered form that a described one is, whichever of the names it has.
  const orbhost::Function *registered(const std::string &name, const ReferenceForm &form) const {
    const auto group = registered_.find(name);
    if (group == registered_.end()) return nullptr;
    for (const orbhost::Function *function : group->second)
      if (fits(*function, form)) return function;
    return nullptr;
  }

  // Parameters come first, then the pointers to further results.
  bool fits(const orbhost::Function &function, const ReferenceForm &form) const {
    const std::size_t given = form.parameters.size();
    const std::size_t further = form.results.size() > 1 ? form.results.size() - 1 : 0;
    if (function.arguments.size() != given + further) return false;
    for (std::size_t i = 0; i < function.arguments.size(); ++i) {
      const ArgumentType type = function.arguments[i];
      if (i >= given) {
        if (type != ArgumentType::pointer) return false;
        continue;
      }
      const ReferenceItem *item = parameter(form.parameters[i]);
      const std::string kind = item ? item->kind : "";
      const bool text = type == ArgumentType::string || orbhost::takes_text_for_int(function.name);
      // The player reads some arrays from tables, whether a pointer is registered or an int.
      if (kind != "table" && (kind == "text") != text) return false;
      if (kind != "table" && type == ArgumentType::pointer) return false;
    }
    return true;
  }

  void look_at_entry() {
    for (const ReferenceForm &form : entry_->forms) {
      for (const std::string &name : form.parameters)
        if (!parameter(name)) say("the parameter " + name + " isn't described");
      if (registered_.count(form.name) && !registered(form.name, form))
        say(described(form) + " isn't a form of the module's");
    }
    std::set<std::string> known;
    for (const ReferenceForm &form : entry_->forms) {
      known.insert(form.parameters.begin(), form.parameters.end());
      known.insert(form.results.begin(), form.results.end());
    }
    for (const ReferenceItem &item : entry_->parameters)
      for (const std::string &name : item.names)
        if (!known.count(name)) say(name + " is described, but no parameter");
    for (const orbhost::ReferenceReport &report : entry_->reports) {
      if (!reference_.find(std::to_string(report.number)))
        say("no entry tells of error " + std::to_string(report.number));
      if (!report.parameter.empty() && !known.count(report.parameter))
        say("a report names " + report.parameter + ", which is no parameter");
    }
    const bool gives = std::ranges::any_of(
        entry_->forms, [](const ReferenceForm &form) { return !form.results.empty(); });
    if (gives && entry_->text.find("\nReturns ") == std::string::npos)
      say("no paragraph begins with Returns");
    for (const std::string &name : entry_->see_also)
      if (!reference_.find(name)) say("see also " + name + ", which has no entry");
    look_at_words(known);
    look_at_aliases();
    for (const ReferenceItem &item : entry_->definitions)
      look_at_definition(item);
  }

  // Names with an underscore in backticks mean something.
  void look_at_words(const std::set<std::string> &known) {
    const std::string &text = entry_->text;
    for (std::size_t at = text.find('`'); at != std::string::npos;) {
      const std::size_t end = text.find('`', at + 1);
      if (end == std::string::npos) break;
      const std::string word = text.substr(at + 1, end - at - 1);
      if (is_word(word) && word.find('_') != std::string::npos && !known.count(word) &&
          !reference_.find(word) && !orbhost::Input::control(word))
        say("`" + word + "` is nothing that the reference describes");
      at = text.find('`', end + 1);
    }
  }

  void look_at_aliases() {
    for (const std::string &alias : entry_->aliases) {
      const auto group = registered_.find(alias);
      if (group == registered_.end()) {
        say(alias + " isn't a function of the module's");
        continue;
      }
      for (const orbhost::Function *function : group->second) {
        const bool same = std::ranges::any_of(
            entry_->forms, [&](const ReferenceForm &form) { return fits(*function, form); });
        if (!same) say("no form is that of the alias " + function->signature);
      }
    }
  }

  void look_at_definition(const ReferenceItem &item) {
    for (std::size_t i = 0; i < item.names.size(); ++i) {
      for (const orbhost::Constant &constant : host_.registration().constants)
        if (constant.name == item.names[i] && item.values[i] != std::to_string(constant.value))
          say(constant.name + " is " + std::to_string(constant.value));
    }
  }

  void need(const std::string &name, const char *what) {
    if (!reference_.find(name)) say(std::string(what) + " " + name + " isn't described");
  }

  // What a script can name, and no entry does.
  void look_for_missing() {
    for (const auto &[name, forms] : registered_) {
      const orbhost::ReferencePlace *place = reference_.find(name);
      if (!place) {
        say("the function " + name + " isn't described");
        continue;
      }
      if (place->alias) continue;
      entry_ = place->entry;
      family_ = place->family;
      for (const orbhost::Function *function : forms) {
        const bool has = std::ranges::any_of(entry_->forms, [&](const ReferenceForm &form) {
          return form.name == function->name && fits(*function, form);
        });
        if (!has) say("the form " + function->signature + " isn't described");
      }
      entry_ = nullptr;
    }
    for (const orbhost::Constant &constant : host_.registration().constants)
      need(constant.name, "the constant");
    for (const orbhost::Layout *layout : {&host_.globals(), &host_.locals()})
      for (const orbhost::Declaration &declaration : layout->declarations())
        need(declaration.name, "the variable");
    look_for_player_functions();
  }

  // The player's own functions are the globals of its Lua that neither Lua nor the module made.
  void look_for_player_functions() {
    lua_State *const L = script_.lua();
    lua_State *const bare = luaL_newstate();
    if (!bare) return;
    luaL_openlibs(bare);
    lua_pushglobaltable(L);
    for (lua_pushnil(L); lua_next(L, -2); lua_pop(L, 1)) {
      if (lua_type(L, -2) != LUA_TSTRING || lua_type(L, -1) != LUA_TFUNCTION) continue;
      const std::string name = lua_tostring(L, -2);
      lua_getglobal(bare, name.c_str());
      if (lua_isnil(bare, -1) && !registered_.count(name)) need(name, "the player's function");
      lua_pop(bare, 1);
    }
    lua_pop(L, 1);
    lua_close(bare);
  }

  const orbhost::Reference &reference_;
  orbhost::Host &host_;
  orbhost::Script &script_;
  std::map<std::string, std::vector<const orbhost::Function *>> registered_;
  const orbhost::ReferenceFamily *family_ = nullptr;
  const ReferenceEntry *entry_ = nullptr;
  std::vector<std::string> found_;
};

} // namespace

std::vector<std::string> check_reference(const orbhost::Reference &reference,
                                         const std::string &module) {
  orbhost::Host host;
  host.load(module);
  orbhost::Script script(host, {});
  script.load_text("", "=reference");
  return Check(reference, host, script).run();
}

} // namespace orbdocs
