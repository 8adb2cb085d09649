#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace kestu::sandbox {

// What goes wrong with calls to come.
struct Fault {
  std::string path = "*";  // the path's beginning, or "*" for every path
  std::string method = {}; // any when empty
  int skip = 0;            // calls that pass before the first that fails
  int times = 1;           // calls that fail; negative: all from then on
  int status = 0;          // 0: the call is answered as ever, but for the delay and the headers
  std::string body = {};
  std::string contentType = "application/json";
  std::map<std::string, std::string> headers = {};
  std::chrono::milliseconds delay{0}; // before the answer
  bool cut = false;                   // the connection ends without an answer
  bool half = false;                  // the connection ends in the middle of the answer's body
  bool exact = false;                 // the path itself, not only its beginning
  bool made = false;                  // the call is made all the same: only its answer is another, or lost
  std::function<void(const std::string& path)> met = {}; // told as a call meets it, before anything else
};

class Faults {
 public:
  void add(Fault fault);
  void clear(); // calls that wait go on too
  // The first fault that this call meets, counted as used.
  std::optional<Fault> take(const std::string& method, const std::string& path);
  std::size_t count() const;

  // Waits, but no longer than until `clear` or `stop`.
  void wait(std::chrono::milliseconds delay);
  void stop();

 private:
  mutable std::mutex mutex_;
  std::condition_variable stopping_;
  bool stopped_ = false;
  int cleared_ = 0;
  std::vector<Fault> faults_;
};

} // namespace kestu::sandbox
