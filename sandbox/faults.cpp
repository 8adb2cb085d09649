#include "sandbox/faults.hpp"

#include <utility>

namespace kestu::sandbox {

void Faults::add(Fault fault) {
  const std::lock_guard held(mutex_);
  faults_.push_back(std::move(fault));
}

void Faults::clear() {
  const std::lock_guard held(mutex_);
  faults_.clear();
  ++cleared_;
  stopping_.notify_all();
}

std::size_t Faults::count() const {
  const std::lock_guard held(mutex_);
  return faults_.size();
}

std::optional<Fault> Faults::take(const std::string& method, const std::string& path) {
  const std::lock_guard held(mutex_);
  for (auto fault = faults_.begin(); fault != faults_.end(); ++fault) {
    if (fault->path != "*" && !(fault->exact ? path == fault->path : path.starts_with(fault->path))) continue;
    if (!fault->method.empty() && fault->method != method) continue;
    if (fault->times == 0) continue;
    if (fault->skip > 0) {
      --fault->skip;
      continue;
    }
    const Fault met = *fault;
    if (fault->times > 0 && --fault->times == 0) faults_.erase(fault);
    return met;
  }
  return std::nullopt;
}

void Faults::wait(std::chrono::milliseconds delay) {
  std::unique_lock held(mutex_);
  stopping_.wait_for(held, delay, [&, before = cleared_] { return stopped_ || cleared_ != before; });
}

void Faults::stop() {
  {
    const std::lock_guard held(mutex_);
    stopped_ = true;
  }
  stopping_.notify_all();
}

} // namespace kestu::sandbox
