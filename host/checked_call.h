// Script calls from C++ that throw on failure.
#pragma once

#include "host/host.h"

#include <string>
#include <string_view>
#include <vector>

namespace orbhost {

// A script function that reported an error, or returned the failure value without a report.
class CallError : public HostError {
public:
  CallError(std::string_view function, std::vector<ErrorReport> given);
  std::vector<ErrorReport> reports; // in the order in which they came; may be empty
  // Of the first report; 0 without one.
  [[nodiscard]] std::int32_t code() const { return reports.empty() ? 0 : reports.front().code; }
};

// host.call(), with reports collected instead of printed. Throws CallError for any report and for
// the failure value, HostError when no form fits. Not for functions that may validly return the
// failure value, such as a colour or an address.
std::int32_t checked_call(Host &host, std::string_view name, std::vector<Argument> arguments = {});

} // namespace orbhost
