// What is wrong with the file of a report, which the module tells by a number only.
#pragma once

#include "host/messages.h"

#include <string>

namespace orbhost {

class Host;

// As describe(). Where the report is about a file, the text says what the file is and what to do,
// as far as a look at it tells now: call it right after the report.
std::string diagnose(Host &host, const ErrorReport &report);

// "no such file in game or /home/me": where a file of that name was looked for, and a name there with
// other capitals.
std::string missing_file(const Host &host, const std::string &name);

} // namespace orbhost
