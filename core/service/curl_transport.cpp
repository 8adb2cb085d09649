#include "core/service/curl_transport.hpp"

#include "core/platform/loaded_library.hpp"
#include "core/support/blotting.hpp"
#include "core/support/environment.hpp"
#include "core/support/error.hpp"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <condition_variable>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <mutex>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

namespace kestu {

namespace {

/// libcurl's functions. It brings some thirty libraries with it, so it is loaded with the first exchange.
struct Curl {
  // macOS looks for a bare name in the current folder too, which is somebody's repository.
#ifdef __APPLE__
  LoadedLibrary library{"/usr/lib/libcurl.4.dylib"};
#else
  LoadedLibrary library{"libcurl.so.4"};
#endif

  decltype(&curl_slist_free_all) freeList = library.function<decltype(&curl_slist_free_all)>("curl_slist_free_all");
  decltype(&curl_slist_append) appendToList = library.function<decltype(&curl_slist_append)>("curl_slist_append");
  decltype(&curl_easy_init) easyInit = library.function<decltype(&curl_easy_init)>("curl_easy_init");
  decltype(&curl_easy_cleanup) easyCleanup = library.function<decltype(&curl_easy_cleanup)>("curl_easy_cleanup");
  decltype(&curl_easy_reset) easyReset = library.function<decltype(&curl_easy_reset)>("curl_easy_reset");
  decltype(&curl_easy_setopt) setOption = library.function<decltype(&curl_easy_setopt)>("curl_easy_setopt");
  decltype(&curl_easy_getinfo) getInfo = library.function<decltype(&curl_easy_getinfo)>("curl_easy_getinfo");
  decltype(&curl_easy_strerror) errorText = library.function<decltype(&curl_easy_strerror)>("curl_easy_strerror");
  decltype(&curl_multi_init) multiInit = library.function<decltype(&curl_multi_init)>("curl_multi_init");
  decltype(&curl_multi_cleanup) multiCleanup = library.function<decltype(&curl_multi_cleanup)>("curl_multi_cleanup");
  decltype(&curl_multi_add_handle) multiAdd =
      library.function<decltype(&curl_multi_add_handle)>("curl_multi_add_handle");
  decltype(&curl_multi_remove_handle) multiRemove =
      library.function<decltype(&curl_multi_remove_handle)>("curl_multi_remove_handle");
  decltype(&curl_multi_wakeup) multiWakeUp = library.function<decltype(&curl_multi_wakeup)>("curl_multi_wakeup");
  decltype(&curl_multi_perform) multiPerform = library.function<decltype(&curl_multi_perform)>("curl_multi_perform");
  decltype(&curl_multi_poll) multiPoll = library.function<decltype(&curl_multi_poll)>("curl_multi_poll");
  decltype(&curl_multi_info_read) multiRead = library.function<decltype(&curl_multi_info_read)>("curl_multi_info_read");

  /// The system's certificates in a folder, each found by the hash of its name; null where they are in one file only,
  /// which takes longer to read, for each connection anew, than most commands to run.
  const char* certificates = nullptr;
  const char* certificateFile = nullptr;

  Curl() {
    library.function<decltype(&curl_global_init)>("curl_global_init")(CURL_GLOBAL_DEFAULT);
    auto versionInfo = library.function<decltype(&curl_version_info)>("curl_version_info");
    const curl_version_info_data* built = versionInfo(CURLVERSION_NOW);
    const char* folder = built->capath;
    certificateFile = built->cainfo;
    std::error_code ignored;
    for (std::filesystem::directory_iterator entry(folder ? folder : "", ignored), end; entry != end;
         entry.increment(ignored)) {
      std::string name = entry->path().filename();
      if (name.size() != 10 || !name.ends_with(".0")) continue; // 5ed36f99.0
      certificates = folder;
      break;
    }
  }
};

const Curl& curl() {
  static const Curl loaded;
  return loaded;
}

struct FreeList {
  void operator()(curl_slist* list) const { curl().freeList(list); }
};
struct FreeEasy {
  void operator()(CURL* handle) const { curl().easyCleanup(handle); }
};
struct FreeMulti {
  void operator()(CURLM* handle) const { curl().multiCleanup(handle); }
};
using Easy = std::unique_ptr<CURL, FreeEasy>;

/// One exchange: what the callbacks read and fill.
struct Exchange {
  const HTTPRequest& request;
  std::size_t answerLimit;
  const std::stop_token& stop;
  HTTPAnswer answer;
  std::uint64_t sent = 0;
  int sendings = 0;
  bool tooLarge = false;
  std::exception_ptr error;
};

std::size_t takeBody(char* bytes, std::size_t size, std::size_t count, void* context) {
  auto& exchange = *static_cast<Exchange*>(context);
  std::size_t length = size * count;
  try {
    if (exchange.request.sink && exchange.answer.status >= 200 && exchange.answer.status <= 299) {
      exchange.request.sink({bytes, length});
      return length;
    }
  } catch (...) {
    exchange.error = std::current_exception();
    return 0;
  }
  if (length > exchange.answerLimit - exchange.answer.body.size()) {
    exchange.tooLarge = true;
    return 0;
  }
  try {
    exchange.answer.body.append(bytes, length);
  } catch (...) {
    exchange.error = std::current_exception();
    return 0;
  }
  return length;
}

std::string trimmedBlanks(std::string text) {
  while (!text.empty() && (text.back() == '\r' || text.back() == '\n' || text.back() == ' ')) text.pop_back();
  text.erase(0, text.find_first_not_of(" \t"));
  return text;
}

std::size_t takeHeader(char* bytes, std::size_t size, std::size_t count, void* context) {
  auto& exchange = *static_cast<Exchange*>(context);
  std::string line(bytes, size * count);
  if (line.starts_with("HTTP/")) {
    exchange.answer.headers.clear();
    std::size_t blank = line.find(' ');
    exchange.answer.status = blank == std::string::npos ? 0 : std::atoi(line.c_str() + blank);
  }
  if (std::size_t colon = line.find(':'); colon != std::string::npos) {
    std::string name = line.substr(0, colon);
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    exchange.answer.headers[name] = trimmedBlanks(line.substr(colon + 1));
  }
  return size * count;
}

std::size_t giveBody(char* buffer, std::size_t size, std::size_t count, void* context) {
  auto& exchange = *static_cast<Exchange*>(context);
  const RequestBody& body = *exchange.request.body;
  try {
    auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(size * count, body.length - exchange.sent));
    std::size_t given = wanted == 0 ? 0 : body.read(exchange.sent, buffer, wanted);
    exchange.sent += given;
    return given;
  } catch (...) {
    exchange.error = std::current_exception();
    return CURL_READFUNC_ABORT;
  }
}

int rewind(void* context, curl_off_t offset, int origin) {
  if (origin != SEEK_SET) return CURL_SEEKFUNC_CANTSEEK;
  static_cast<Exchange*>(context)->sent = static_cast<std::uint64_t>(offset);
  return CURL_SEEKFUNC_OK;
}

/// The library sends a request again by itself where a connection that it had used before breaks without an answer. One
/// that changes something may have been carried out by then.
int beforeSending(void* context, char*, char*, int, int) {
  auto& exchange = *static_cast<Exchange*>(context);
  const std::string& method = exchange.request.method;
  bool harmless = method == "GET" || method == "HEAD" || method == "PUT";
  return ++exchange.sendings == 1 || harmless ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
}

int progress(void* context, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
  return static_cast<Exchange*>(context)->stop.stop_requested() ? 1 : 0;
}

void append(std::unique_ptr<curl_slist, FreeList>& list, const std::string& line) {
  curl_slist* longer = curl().appendToList(list.get(), line.c_str());
  if (!longer) throw std::bad_alloc();
  static_cast<void>(list.release());
  list.reset(longer);
}

std::unique_ptr<curl_slist, FreeList> headerLines(const HTTPRequest& request) {
  std::unique_ptr<curl_slist, FreeList> list;
  for (const auto& [name, value] : request.headers) {
    if ((name + value).find_first_of(std::string("\r\n\0", 3)) != std::string::npos) {
      throw TransportError("a header holds a line break");
    }
    append(list, value.empty() ? name + ";" : name + ": " + value);
  }
  if (request.token) append(list, "Authorization: Bearer " + request.token->reveal());
  // Waiting for "100 Continue" would cost a second a part where a server does not send it.
  append(list, "Expect:");
  // Without a body too, the library would name a form's type.
  if (std::none_of(request.headers.begin(), request.headers.end(), [](const auto& header) {
        return header.first.size() == 12 &&
               std::equal(header.first.begin(), header.first.end(), "content-type",
                          [](char a, char b) { return std::tolower(static_cast<unsigned char>(a)) == b; });
      })) {
    append(list, "Content-Type:");
  }
  return list;
}

void setBody(CURL* easy, Exchange& exchange) {
  const HTTPRequest& request = exchange.request;
  if (request.body) {
    curl().setOption(easy, CURLOPT_UPLOAD, 1L);
    curl().setOption(easy, CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(request.body->length));
    curl().setOption(easy, CURLOPT_READFUNCTION, giveBody);
    curl().setOption(easy, CURLOPT_READDATA, &exchange);
    curl().setOption(easy, CURLOPT_SEEKFUNCTION, rewind);
    curl().setOption(easy, CURLOPT_SEEKDATA, &exchange);
    curl().setOption(easy, CURLOPT_UPLOAD_BUFFERSIZE, 1024L * 1024L);
  } else if (request.method == "POST") {
    curl().setOption(easy, CURLOPT_POST, 1L);
    curl().setOption(easy, CURLOPT_POSTFIELDSIZE, 0L);
    curl().setOption(easy, CURLOPT_POSTFIELDS, "");
  }
  curl().setOption(easy, CURLOPT_CUSTOMREQUEST, request.method.c_str());
}

void setTimes(CURL* easy, std::chrono::milliseconds timeout, bool idle) {
  curl().setOption(easy, CURLOPT_NOSIGNAL, 1L);
  curl().setOption(easy, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(timeout.count()));
  if (idle) {
    auto seconds = std::chrono::ceil<std::chrono::seconds>(timeout).count();
    curl().setOption(easy, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl().setOption(easy, CURLOPT_LOW_SPEED_TIME, static_cast<long>(seconds));
  } else {
    curl().setOption(easy, CURLOPT_TIMEOUT_MS, static_cast<long>(timeout.count()));
  }
}

/// A server that repeats the request in its answer, mostly in an error, would have the token shown or written to a
/// file.
void forget(HTTPAnswer& answer, const Token& token) {
  constexpr std::size_t shortest = 12; // what is shorter is none that a service makes, and may stand there as a word
  const std::string& secret = token.reveal();
  if (secret.size() < shortest) return;
  auto blot = [&](std::string& text) {
    if (text.find(secret) != std::string::npos) text = blotted(text, secret);
  };
  for (auto& [name, value] : answer.headers) blot(value);
  blot(answer.body);
}

/// Runs one exchange on a handle of its own "multi", whose poll the stop token wakes at once.
CURLcode perform(CURLM* multi, CURL* easy, const std::stop_token& stop) {
  if (curl().multiAdd(multi, easy) != CURLM_OK) throw TransportError("out of memory");
  std::stop_callback wake(stop, [multi] { curl().multiWakeUp(multi); });
  CURLcode result = CURLE_OK;
  int running = 1;
  while (running > 0 && !stop.stop_requested()) {
    if (curl().multiPerform(multi, &running) != CURLM_OK) break;
    if (running > 0) curl().multiPoll(multi, nullptr, 0, 1000, nullptr);
  }
  int left = 0;
  while (CURLMsg* message = curl().multiRead(multi, &left)) {
    if (message->msg == CURLMSG_DONE) result = message->data.result;
  }
  curl().multiRemove(multi, easy);
  return result;
}

/// The same with the system's certificates: from their folder where there is one, and where that lacks the one needed,
/// from their file, now and for the exchanges after it.
CURLcode performTrustingSystem(CURLM* multi, CURL* easy, std::atomic<bool>& wholeFile, const std::stop_token& stop) {
  if (!curl().certificates || wholeFile) return perform(multi, easy, stop);
  const char* none = nullptr;
  curl().setOption(easy, CURLOPT_CAINFO, none);
  CURLcode result = perform(multi, easy, stop);
  if (result != CURLE_PEER_FAILED_VERIFICATION || stop.stop_requested()) return result;
  wholeFile = true;
  curl().setOption(easy, CURLOPT_CAINFO, curl().certificateFile);
  return perform(multi, easy, stop); // nothing was sent yet
}

} // namespace

/// Idle handles. A "multi" keeps the connections of the transfers that ran in it.
class CurlTransport::Pool {
 public:
  struct Handle {
    std::unique_ptr<CURLM, FreeMulti> multi;
    Easy easy;
  };

  Handle take() {
    std::lock_guard lock(mutex_);
    if (!idle_.empty()) {
      Handle handle = std::move(idle_.back());
      idle_.pop_back();
      return handle;
    }
    try {
      curl();
    } catch (const NotLoaded& error) {
      throw TransportError(std::string("libcurl couldn't be loaded: ") + error.what());
    }
    Handle handle{std::unique_ptr<CURLM, FreeMulti>(curl().multiInit()), Easy(curl().easyInit())};
    if (!handle.multi || !handle.easy) throw TransportError("out of memory");
    return handle;
  }

  void giveBack(Handle handle) {
    curl().easyReset(handle.easy.get());
    std::lock_guard lock(mutex_);
    idle_.push_back(std::move(handle));
  }

 private:
  std::mutex mutex_;
  std::vector<Handle> idle_;
};

Certificates Certificates::from(const Environment& environment) {
  auto value = [&](std::string_view name) { return environment.get(name).value_or(""); };
  if (std::string bundle = value("CURL_CA_BUNDLE"); !bundle.empty()) return {bundle, ""};
  return {value("SSL_CERT_FILE"), value("SSL_CERT_DIR")};
}

CurlTransport::CurlTransport(Certificates certificates, std::size_t answerLimit, std::chrono::milliseconds longest)
    : pool_(std::make_unique<Pool>()), certificates_(std::move(certificates)), answerLimit_(answerLimit),
      longest_(longest) {}
CurlTransport::~CurlTransport() = default;

HTTPAnswer CurlTransport::send(const HTTPRequest& request, const std::stop_token& stop) {
  if (stop.stop_requested()) throw Stopped();
  Pool::Handle handle = pool_->take();
  CURL* easy = handle.easy.get();
  Exchange exchange{request, answerLimit_, stop, {}, 0, 0, false, nullptr};
  std::array<char, CURL_ERROR_SIZE> description{};
  auto headers = headerLines(request);
  setBody(easy, exchange);
  setTimes(easy, std::min(request.timeout, longest_), request.idle);
  curl().setOption(easy, CURLOPT_URL, request.url.c_str());
  curl().setOption(easy, CURLOPT_PROTOCOLS_STR, "http,https");
  // Plain HTTP is for this machine alone, which no proxy can reach.
  if (request.url.starts_with("http://")) curl().setOption(easy, CURLOPT_NOPROXY, "*");
  curl().setOption(easy, CURLOPT_HTTPHEADER, headers.get());
  curl().setOption(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
  curl().setOption(easy, CURLOPT_ACCEPT_ENCODING, "gzip");
  curl().setOption(easy, CURLOPT_FOLLOWLOCATION, 0L);
  curl().setOption(easy, CURLOPT_SSL_VERIFYPEER, 1L);
  curl().setOption(easy, CURLOPT_SSL_VERIFYHOST, 2L);
  if (!certificates_.file.empty()) curl().setOption(easy, CURLOPT_CAINFO, certificates_.file.c_str());
  if (!certificates_.folder.empty()) curl().setOption(easy, CURLOPT_CAPATH, certificates_.folder.c_str());
  curl().setOption(easy, CURLOPT_WRITEFUNCTION, takeBody);
  curl().setOption(easy, CURLOPT_WRITEDATA, &exchange);
  curl().setOption(easy, CURLOPT_HEADERFUNCTION, takeHeader);
  curl().setOption(easy, CURLOPT_HEADERDATA, &exchange);
  curl().setOption(easy, CURLOPT_PREREQFUNCTION, beforeSending);
  curl().setOption(easy, CURLOPT_PREREQDATA, &exchange);
  curl().setOption(easy, CURLOPT_NOPROGRESS, 0L);
  curl().setOption(easy, CURLOPT_XFERINFOFUNCTION, progress);
  curl().setOption(easy, CURLOPT_XFERINFODATA, &exchange);
  curl().setOption(easy, CURLOPT_ERRORBUFFER, description.data());
  bool system = certificates_.file.empty() && certificates_.folder.empty();
  CURLcode result = system ? performTrustingSystem(handle.multi.get(), easy, wholeFile_, stop)
                           : perform(handle.multi.get(), easy, stop);
  long status = 0;
  curl().getInfo(easy, CURLINFO_RESPONSE_CODE, &status);
  pool_->giveBack(std::move(handle));
  if (stop.stop_requested()) throw Stopped();
  if (exchange.error) std::rethrow_exception(exchange.error);
  if (exchange.tooLarge) throw TransportError("the answer was larger than 64 MiB");
  if (result == CURLE_ABORTED_BY_CALLBACK) throw TransportError("the connection broke before an answer came");
  if (result != CURLE_OK) {
    // A proxy's address that isn't understood is told with the password in it.
    throw TransportError(withoutUserinfo(description[0] != '\0' ? description.data() : curl().errorText(result)),
                         exchange.sendings > 0);
  }
  exchange.answer.status = static_cast<int>(status);
  if (request.token) forget(exchange.answer, *request.token);
  return std::move(exchange.answer);
}

} // namespace kestu
