#include "core/assets/asset_push.hpp"
#include "core/service/curl_transport.hpp"
#include "core/support/files.hpp"

#include <exception>
#include <iostream>

// Sends the first planned upload of an answer with the part uploader, four at once, and nothing else:
// kestu-send-parts FILE ANSWER.
int main(int count, char** words) {
  if (count != 3) return 2;
  try {
    auto answer = kestu::Files::read(words[2], 64 * 1024 * 1024);
    auto plan = kestu::AssetsPlan::read(kestu::JSONValue::parse(answer.value_or("")));
    kestu::CurlTransport transport;
    kestu::SystemClock clock;
    kestu::PartUploader(transport, clock).send(words[1], plan.uploads.at(0).parts, 4, {}, nullptr);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << error.what() << "\n";
    return 1;
  }
}
