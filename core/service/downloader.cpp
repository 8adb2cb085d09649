#include "core/service/downloader.hpp"

#include "core/console/printable.hpp"
#include "core/service/api_url.hpp"
#include "core/service/refusal.hpp"
#include "core/service/retry.hpp"
#include "core/support/incoming_file.hpp"
#include "core/support/md5.hpp"

#include <memory>

namespace kestu {

namespace {

/// One attempt's file.
struct Attempt {
  explicit Attempt(const std::filesystem::path& target) : file(target) {}

  IncomingFile file;
  MD5 digest;
};

} // namespace

void Downloader::fetch(const Download& download, const std::filesystem::path& target, bool replacing,
                       const std::function<void(const std::string& md5)>& ready, const Progress& progress,
                       const std::stop_token& stop) const {
  if (!mayTransferWith(download.url)) throw notUnderstood();
  std::string name = printable(download.name);
  std::unique_ptr<Attempt> attempt;
  std::string md5;
  auto message = [&](const std::string& reason, bool again) {
    return "Couldn't download " + name + " (" + reason + "). What came whole is kept" +
           (again ? "; run it again to go on." : ".");
  };
  retried(
      clock_, stop,
      [&] {
        if (attempt) progress(-static_cast<std::int64_t>(attempt->file.size()));
        attempt = std::make_unique<Attempt>(target);
        HTTPRequest request;
        request.url = download.url;
        request.timeout = std::chrono::seconds(60);
        request.idle = true;
        request.sink = [&](std::string_view bytes) {
          if (bytes.size() > download.size - attempt->file.size()) throw TransportError("more came than it has");
          attempt->file.write(bytes);
          attempt->digest.add(bytes);
          progress(static_cast<std::int64_t>(bytes.size()));
        };
        HTTPAnswer answer = transport_.send(request, stop);
        if (answer.status < 200 || answer.status > 299) return answer;
        if (attempt->file.size() < download.size) throw TransportError("only a part of it came");
        md5 = attempt->digest.finish();
        if (download.md5 && md5 != *download.md5) throw TransportError("it came with another checksum");
        return answer;
      },
      [&](const TransferRefusal& refusal) {
        return CLIError(refusal.kind(), message(refusal.reason(), !refusal.isOfTheFile()));
      },
      [&](const std::string& reason) {
        return CLIError(CLIError::Kind::unavailable, message(printable(reason), true));
      });
  ready(md5);
  if (replacing) {
    attempt->file.replaceTarget();
  } else if (!attempt->file.becomeTarget()) {
    throw CLIError(CLIError::Kind::failed, name + " appeared while it was downloaded, and was left as it is.");
  }
}

} // namespace kestu
