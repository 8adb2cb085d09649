#pragma once

#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace kestu::tests {

/// The variables of this process, as children get them, for as long as this lives.
class ProcessVariables {
 public:
  ProcessVariables() = default;
  ~ProcessVariables() {
    for (const auto& [name, value] : before_) value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
  }
  ProcessVariables(const ProcessVariables&) = delete;
  ProcessVariables& operator=(const ProcessVariables&) = delete;

  void set(const std::string& name, const std::string& value) {
    const char* before = std::getenv(name.c_str());
    before_.emplace(name, before ? std::optional<std::string>(before) : std::nullopt);
    setenv(name.c_str(), value.c_str(), 1);
  }
  /// The folder's programs stand before all others.
  void setTools(const std::filesystem::path& folder) { set("PATH", folder.string() + ":" + std::getenv("PATH")); }

 private:
  std::map<std::string, std::optional<std::string>> before_;
};

} // namespace kestu::tests
