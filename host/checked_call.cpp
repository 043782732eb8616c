#include "host/checked_call.h"

#include <utility>

namespace orbhost {
namespace {

std::string describe_failure(std::string_view function, const std::vector<ErrorReport> &reports) {
  return reports.empty() ? std::string(function) + ": failed" : describe(reports.front());
}

// Collects the reports made during its lifetime.
class Collector {
public:
  explicit Collector(Host &host) : host_(host), before_(std::move(host.on_error)) {
    host_.on_error = [this](const ErrorReport &report) { reports.push_back(report); };
  }
  ~Collector() { host_.on_error = std::move(before_); }
  Collector(const Collector &) = delete;
  Collector &operator=(const Collector &) = delete;

  std::vector<ErrorReport> reports;

private:
  Host &host_;
  std::function<void(const ErrorReport &)> before_;
};

} // namespace

CallError::CallError(std::string_view function, std::vector<ErrorReport> given)
    : HostError(describe_failure(function, given)), reports(std::move(given)) {}

std::int32_t checked_call(Host &host, std::string_view name, std::vector<Argument> arguments) {
  Collector collector(host);
  const std::int32_t result = host.call(name, std::move(arguments));
  if (!collector.reports.empty() || result == failure_value) {
    throw CallError(name, std::move(collector.reports));
  }
  return result;
}

} // namespace orbhost
