#pragma once

#include <chrono>
#include <string>

namespace kestu::sandbox {

// What Apple does with a version once it is sent.
struct AppReview {
  std::chrono::seconds step{2}; // a version waits so long, and then is in review as long
  std::string rejection;        // the state that the review ends in; empty where it approves
  bool byItself = true;         // else somebody decides, on the page or by a control call
  std::chrono::seconds day{20}; // of a phased release
  int unlisted = 0;             // how many lists a version that is made next is missing from
};

} // namespace kestu::sandbox
