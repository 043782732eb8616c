#include "tools/orbdocs/types.h"

#include "host/host.h"

#include <lua.hpp>

#include <algorithm>
#include <map>
#include <set>

namespace orbdocs {
namespace {

using orbhost::ReferenceEntry;
using orbhost::ReferenceForm;
using orbhost::ReferenceItem;

std::string comment(const std::string &text) {
  return text.empty() ? "" : "---" + text + "\n";
}

const ReferenceItem *item_of(const ReferenceEntry &entry, const std::string &name) {
  for (const ReferenceItem &item : entry.parameters)
    if (std::ranges::find(item.names, name) != item.names.end()) return &item;
  return nullptr;
}

// The Lua type of a parameter or, where `result` says so, of what a call gives.
std::string lua_type(const ReferenceEntry &entry, const std::string &name, bool result) {
  const ReferenceItem *item = item_of(entry, name);
  const std::string kind = item ? item->kind : "";
  if (kind == "text") return "string";
  if (kind == "process" || (result && name == "process"))
    return result ? "orb_process" : "orb_process|integer";
  return kind.empty() ? "integer" : kind;
}

class Types {
public:
  Types(const orbhost::Reference &reference, const orbhost::Host &host) : reference_(reference) {
    for (const orbhost::Declaration &local : host.locals().declarations())
      locals_.insert(local.name);
    for (const char *name : {"xgraph", "id", "type"})
      locals_.insert(name);
    for (const orbhost::Constant &constant : host.registration().constants)
      constants_[constant.name] = constant.value;
    for (const orbhost::Declaration &global : host.globals().declarations())
      globals_[global.name] = &global;
    for (const orbhost::Function &function : host.registration().functions) {
      if (function.result == orbhost::ResultType::real) first_results_[function.name] = "number";
      if (function.result == orbhost::ResultType::string) first_results_[function.name] = "string";
    }
  }

  std::string text() {
    std::string process = "---@class orb_process\n";
    for (const orbhost::ReferenceFamily &family : reference_.families()) {
      for (const ReferenceEntry &entry : family.entries) {
        functions(entry);
        for (const ReferenceItem &item : entry.definitions)
          for (const std::string &name : item.names)
            if (locals_.count(name))
              process += field(name, item.text);
            else
              definition(name, item.text);
      }
    }
    for (const char *method : {"kill", "sleep", "freeze", "wake"})
      process += std::string("---@field ") + method + " fun(self: orb_process)\n";
    process += "---@field alive fun(self: orb_process): boolean\n"
               "---@field [string] any the script's own fields\n";
    return "---@meta\n-- All that a script can name. Made from the reference; changes are "
           "lost.\n\n" +
           process + "local orb_process = {}\n\n---@class font\n\n" + text_;
  }

private:
  static std::string field(const std::string &name, const std::string &text) {
    const char *type = name == "xgraph" ? "integer[]?" : "integer";
    return "---@field " + name + " " + type + " " + text + "\n";
  }

  std::string first_result(const ReferenceEntry &entry, const ReferenceForm &form) const {
    const auto found = first_results_.find(form.name);
    return found != first_results_.end() ? found->second : lua_type(entry, form.results[0], true);
  }

  std::string results(const ReferenceEntry &entry, const ReferenceForm &form) const {
    std::string types;
    for (const std::string &name : form.results)
      types += types.empty() ? first_result(entry, form) : ", " + lua_type(entry, name, true);
    return types;
  }

  // Each name as one function; its longest form declares it, the others overload it.
  void functions(const ReferenceEntry &entry) {
    std::map<std::string, std::vector<const ReferenceForm *>> by_name;
    for (const ReferenceForm &form : entry.forms)
      by_name[form.name].push_back(&form);
    for (auto &[name, forms] : by_name) {
      std::ranges::stable_sort(forms, {},
                               [](const ReferenceForm *f) { return f->parameters.size(); });
      function(entry, name, forms);
    }
    for (const std::string &alias : entry.aliases)
      if (!entry.forms.empty())
        text_ += "---The same as " + entry.forms[0].name + ".\n" + alias + " = " +
                 entry.forms[0].name + "\n\n";
  }

  void function(const ReferenceEntry &entry, const std::string &name,
                const std::vector<const ReferenceForm *> &forms) {
    const ReferenceForm &longest = *forms.back();
    text_ += comment(entry.purpose);
    std::string parameters;
    for (const std::string &parameter : longest.parameters) {
      const ReferenceItem *item = item_of(entry, parameter);
      text_ += "---@param " + parameter + " " + lua_type(entry, parameter, false) + " " +
               (item ? item->text : "") + "\n";
      parameters += (parameters.empty() ? "" : ", ") + parameter;
    }
    for (std::size_t i = 0; i < longest.results.size(); ++i)
      text_ += "---@return " +
               (i == 0 ? first_result(entry, longest) : lua_type(entry, longest.results[i], true)) +
               " " + longest.results[i] + "\n";
    for (const ReferenceForm *form : forms) {
      if (form == &longest) continue;
      std::string overload;
      for (const std::string &parameter : form->parameters)
        overload +=
            (overload.empty() ? "" : ", ") + parameter + ": " + lua_type(entry, parameter, false);
      const std::string given = results(entry, *form);
      text_ += "---@overload fun(" + overload + ")" + (given.empty() ? "" : ": " + given) + "\n";
    }
    text_ += "function " + name + "(" + parameters + ") end\n\n";
  }

  void definition(const std::string &name, const std::string &text) {
    if (const auto constant = constants_.find(name); constant != constants_.end()) {
      text_ += comment(text) + name + " = " + std::to_string(constant->second) + "\n\n";
    } else if (const auto global = globals_.find(name); global != globals_.end()) {
      const bool number = global->second->kind == orbhost::Declaration::Kind::variable;
      text_ += comment(text) + (number ? "---@type integer\n" + name + " = 0\n\n"
                                       : "---@type table\n" + name + " = {}\n\n");
    } else if (name == "main") {
      text_ += comment(text) + "---@type orb_process\nmain = nil\n\n";
    } else if (name.starts_with("mouse.")) {
      const bool button = name == "mouse.left" || name == "mouse.middle" || name == "mouse.right";
      if (!mouse_) text_ += "mouse = {}\n\n";
      mouse_ = true;
      text_ += comment(text) + name + (button ? " = false\n\n" : " = 0\n\n");
    }
  }

  const orbhost::Reference &reference_;
  std::set<std::string> locals_;
  std::map<std::string, std::int32_t> constants_;
  std::map<std::string, const orbhost::Declaration *> globals_;
  std::map<std::string, std::string> first_results_;
  std::string text_;
  bool mouse_ = false;
};

} // namespace

std::string editor_types(const orbhost::Reference &reference, const orbhost::Host &host) {
  return Types(reference, host).text();
}

std::string mistake_in(const std::string &types) {
  lua_State *const L = luaL_newstate();
  if (!L) return "no memory for Lua";
  const std::string mistake = luaL_dostring(L, types.c_str()) == LUA_OK
                                  ? ""
                                  : "orb.lua: " + std::string(lua_tostring(L, -1));
  lua_close(L);
  return mistake;
}

} // namespace orbdocs
