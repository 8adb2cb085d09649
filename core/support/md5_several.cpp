#include "core/support/md5_several.hpp"

#include "core/support/error.hpp"
#include "core/support/files.hpp"
#include "core/support/md5.hpp"
#include "core/support/tasks.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>

namespace kestu::MD5Several {

namespace {

constexpr std::size_t piece = 65'536; ///< of all lanes together they stay in a core's own cache
constexpr std::size_t mostPadding = 72;

/// A message on its way, and the bytes of it that weren't hashed yet.
class Lane {
 public:
  bool busy() const { return message_.has_value(); }
  const char* bytes() const { return buffer_.get() + at_; }
  std::size_t blocks() const { return (held_ - at_) / MD5Lanes::block; }
  bool fresh() const { return length_ == 0; }
  bool over() const { return ended_ && at_ == held_; }
  void skip(std::size_t blocks) { at_ += blocks * MD5Lanes::block; }

  void begin(MD5Message message) {
    if (!buffer_) buffer_ = std::make_unique_for_overwrite<char[]>(piece + mostPadding);
    message_ = std::move(message);
    at_ = held_ = 0;
    length_ = 0;
    ended_ = false;
  }

  /// Reads on where less than a block is left; false when the message failed, which frees the lane.
  bool refill() {
    if (blocks() > 0) return true;
    std::copy(bytes(), bytes() + (held_ - at_), buffer_.get());
    held_ -= std::exchange(at_, 0);
    try {
      while (held_ < piece && !ended_) {
        std::size_t count = message_->read(buffer_.get() + held_, piece - held_);
        held_ += count;
        length_ += count;
        ended_ = count == 0;
      }
    } catch (const std::system_error& error) {
      std::exchange(message_, std::nullopt)->failed(error);
      return false;
    }
    if (ended_) pad();
    return true;
  }

  void finish(const std::string& digest) { std::exchange(message_, std::nullopt)->done(digest); }

  /// The whole of a fresh message by OpenSSL, the fastest there is for one.
  void hashAlone(const std::stop_token& stop) {
    MD5 digest;
    try {
      while (std::size_t count = message_->read(buffer_.get(), piece)) {
        if (stop.stop_requested()) throw Stopped();
        digest.add({buffer_.get(), count});
      }
    } catch (const std::system_error& error) {
      return std::exchange(message_, std::nullopt)->failed(error);
    }
    finish(digest.finish());
  }

 private:
  void pad() {
    std::uint64_t bits = length_ * 8;
    buffer_[held_++] = '\x80';
    while (held_ % MD5Lanes::block != MD5Lanes::block - sizeof bits) buffer_[held_++] = '\0';
    std::memcpy(buffer_.get() + held_, &bits, sizeof bits);
    held_ += sizeof bits;
  }

  std::optional<MD5Message> message_;
  std::unique_ptr<char[]> buffer_;
  std::size_t at_ = 0, held_ = 0;
  std::uint64_t length_ = 0; ///< bytes read of the message
  bool ended_ = false;
};

class Hasher {
 public:
  Hasher(const std::function<std::optional<MD5Message>()>& next, const Options& options)
      : next_(next), atOnce_(std::clamp<std::size_t>(options.atOnce, 1, MD5Lanes::count)),
        digests_(options.instructions) {}

  void run(const std::stop_token& stop) {
    while (true) {
      if (stop.stop_requested()) throw Stopped();
      std::size_t busy = fill();
      if (busy == 0) return;
      if (busy == 1) {
        goAlone(stop);
      } else {
        goTogether();
      }
    }
  }

 private:
  /// Gives every lane something to do, as far as there is; how many have.
  std::size_t fill() {
    std::size_t busy = 0;
    for (std::size_t at = 0; at < atOnce_; ++at) {
      Lane& lane = lanes_[at];
      while (true) {
        if (!lane.busy()) {
          auto message = more_ ? next_() : std::nullopt;
          more_ = message.has_value();
          if (!more_) break;
          lane.begin(std::move(*message));
          digests_.begin(at);
        }
        if (isLeftAlone(lane) || lane.refill()) break;
      }
      busy += lane.busy() ? 1 : 0;
    }
    return busy;
  }

  /// Nothing of it is read ahead, so that it can go another way.
  bool isLeftAlone(const Lane& lane) const { return atOnce_ == 1 && lane.fresh(); }

  void goAlone(const std::stop_token& stop) {
    auto lane = std::find_if(lanes_.begin(), lanes_.end(), [](const Lane& each) { return each.busy(); });
    if (isLeftAlone(*lane)) return lane->hashAlone(stop);
    auto at = static_cast<std::size_t>(lane - lanes_.begin());
    std::size_t blocks = lane->blocks();
    digests_.addTo(at, lane->bytes(), blocks);
    advance(at, blocks);
  }

  void goTogether() {
    std::size_t blocks = piece;
    const char* any = nullptr;
    for (const Lane& lane : lanes_) {
      if (!lane.busy()) continue;
      blocks = std::min(blocks, lane.blocks());
      any = lane.bytes();
    }
    MD5Lanes::Blocks from;
    for (std::size_t at = 0; at < from.size(); ++at) from[at] = lanes_[at].busy() ? lanes_[at].bytes() : any;
    digests_.add(from, blocks);
    for (std::size_t at = 0; at < atOnce_; ++at) {
      if (lanes_[at].busy()) advance(at, blocks);
    }
  }

  void advance(std::size_t at, std::size_t blocks) {
    lanes_[at].skip(blocks);
    if (lanes_[at].over()) lanes_[at].finish(digests_.digest(at));
  }

  const std::function<std::optional<MD5Message>()>& next_;
  const std::size_t atOnce_;
  std::array<Lane, MD5Lanes::count> lanes_;
  MD5Lanes digests_;
  bool more_ = true;
};

} // namespace

void hash(const std::function<std::optional<MD5Message>()>& next, const std::stop_token& stop, const Options& options) {
  Hasher(next, options).run(stop);
}

void hashOnAllCores(std::size_t count, const std::function<std::optional<MD5Message>(const std::stop_token&)>& next,
                    const std::stop_token& stop) {
  std::size_t workers = std::min(coreCount(), count);
  if (workers == 0) return;
  // Few files are spread over the cores rather than over the lanes of one.
  Options options{.atOnce = std::min(MD5Lanes::count, (count + workers - 1) / workers)};
  fewAtOnce(workers, workers, stop,
            [&](std::size_t, const std::stop_token& ending) { hash([&] { return next(ending); }, ending, options); });
}

std::vector<std::optional<std::string>> ofFiles(const std::vector<std::filesystem::path>& files,
                                                const std::stop_token& stop) {
  std::vector<std::optional<std::string>> digests(files.size());
  std::atomic<std::size_t> taken = 0;
  auto next = [&](const std::stop_token&) -> std::optional<MD5Message> {
    for (std::size_t index; (index = taken++) < files.size();) {
      try {
        auto reader = std::make_shared<FileReader>(files[index]);
        return MD5Message{[reader](char* buffer, std::size_t capacity) { return reader->read(buffer, capacity); },
                          [&digests, index](const std::string& digest) { digests[index] = digest; },
                          [](const std::system_error&) {}};
      } catch (const std::system_error&) {
        continue;
      }
    }
    return std::nullopt;
  };
  hashOnAllCores(files.size(), next, stop);
  return digests;
}

} // namespace kestu::MD5Several
