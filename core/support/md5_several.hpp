#pragma once

#include "core/support/md5_lanes.hpp"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <system_error>
#include <vector>

namespace kestu {

/// Something to hash, whose bytes come in pieces.
struct MD5Message {
  std::function<std::size_t(char* buffer, std::size_t capacity)> read; ///< 0 at the end
  std::function<void(const std::string& digest)> done;                 ///< 32 lowercase hexadecimal digits
  std::function<void(const std::system_error&)> failed;                ///< once `read` threw it; the others go on
};

/// MD5 of several messages at once, in about the time that one takes.
namespace MD5Several {

struct Options {
  std::size_t atOnce = MD5Lanes::count; ///< 1…MD5Lanes::count; one alone goes through OpenSSL
  MD5Lanes::Instructions instructions = MD5Lanes::Instructions::best;
};

/// Hashes what `next` gives until it gives none, on this thread, within 1 MiB. Messages of unlike length share the
/// lanes as they come and go. Throws Stopped.
void hash(const std::function<std::optional<MD5Message>()>& next, const std::stop_token& stop,
          const Options& options = {});

/// `hash` on as many threads as there are cores, for about `count` messages; `next` is called from any of them.
void hashOnAllCores(std::size_t count, const std::function<std::optional<MD5Message>(const std::stop_token&)>& next,
                    const std::stop_token& stop);

/// The files' digests; none for one that can't be read.
std::vector<std::optional<std::string>> ofFiles(const std::vector<std::filesystem::path>& files,
                                                const std::stop_token& stop);

} // namespace MD5Several

} // namespace kestu
