#include "media/video_probe_module.h"

#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>

extern "C" {
#include <libavcodec/version.h>
#include <libavformat/avformat.h>
}

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds patience(20);
constexpr std::int64_t bytesLookedAt = 5'000'000;

struct Close {
  void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
using Movie = std::unique_ptr<AVFormatContext, Close>;

/// Owns a dictionary of options; what was understood is taken out of it by the library.
class Options {
 public:
  Options(std::initializer_list<std::pair<const char*, const char*>> entries) {
    for (const auto& [key, value] : entries) av_dict_set(&dictionary_, key, value, 0);
  }
  ~Options() { av_dict_free(&dictionary_); }
  Options(const Options&) = delete;
  Options& operator=(const Options&) = delete;
  AVDictionary** left() { return &dictionary_; }

 private:
  AVDictionary* dictionary_ = nullptr;
};

int isOverdue(void* deadline) { return Clock::now() > *static_cast<Clock::time_point*>(deadline) ? 1 : 0; }

/// `deadline` is looked at for as long as the movie is open.
Movie open(const char* path, Clock::time_point& deadline) {
  AVFormatContext* context = avformat_alloc_context();
  if (!context) return nullptr;
  context->interrupt_callback = {isOverdue, &deadline};
  context->probesize = bytesLookedAt;
  // No other file or address that the movie names may be opened, and no codec but those whose size only they tell.
  Options options{{"format_whitelist", "mov"}, {"protocol_whitelist", "file"}, {"codec_whitelist", "mpeg4,h263"}};
  // Without the scheme, a name such as "http:01.mov" would be taken for an address.
  std::string address = std::string("file:") + path;
  if (avformat_open_input(&context, address.c_str(), nullptr, options.left()) != 0) return nullptr; // freed by then
  return Movie(context);
}

const AVStream* videoTrack(const AVFormatContext& movie) {
  for (unsigned i = 0; i < movie.nb_streams; ++i) {
    const AVStream* stream = movie.streams[i];
    bool cover = (stream->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
    if (stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO && !cover) return stream;
  }
  return nullptr;
}

bool hasSound(const AVFormatContext& movie) {
  for (unsigned i = 0; i < movie.nb_streams; ++i) {
    if (movie.streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) return true;
  }
  return false;
}

double frameRate(const AVStream& track) {
  for (AVRational rate : {track.avg_frame_rate, track.r_frame_rate}) {
    if (rate.num > 0 && rate.den > 0) return av_q2d(rate);
  }
  return 0;
}

/// The track's matrix, nine numbers; null where it has none.
const std::int32_t* displayMatrix(const AVStream& track) {
  std::size_t size = 0;
  const void* data = nullptr;
#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(60, 31, 102)
  const AVPacketSideData* found = av_packet_side_data_get(
      track.codecpar->coded_side_data, track.codecpar->nb_coded_side_data, AV_PKT_DATA_DISPLAYMATRIX);
  if (found) {
    data = found->data;
    size = found->size;
  }
#else
  data = av_stream_get_side_data(&track, AV_PKT_DATA_DISPLAYMATRIX, &size);
#endif
  return size < 9 * sizeof(std::int32_t) ? nullptr : static_cast<const std::int32_t*>(data);
}

/// The picture's size under the track's matrix, whose sides a turn exchanges and a mirroring makes negative.
std::pair<double, double> displayedSize(const AVStream& track) {
  double width = track.codecpar->width;
  double height = track.codecpar->height;
  AVRational aspect = track.sample_aspect_ratio;
  double stretch = aspect.num > 0 && aspect.den > 0 ? av_q2d(aspect) : 1;
  const std::int32_t* matrix = displayMatrix(track);
  if (!matrix) return {width * stretch, height};
  auto element = [&](int at) { return matrix[at] / 65536.0; };
  // A matrix that stretches one side is told as an aspect ratio too, and must not count twice.
  bool stretches = std::abs(std::hypot(element(0), element(3)) - std::hypot(element(1), element(4))) > 0.01;
  if (!stretches) width *= stretch;
  return {std::abs(width * element(0) + height * element(3)), std::abs(width * element(1) + height * element(4))};
}

} // namespace

int kestuMediaVersion(void) { return KESTU_MEDIA_VERSION; }

int kestuMediaProbe(const char* path, KestuVideoFacts* facts) {
  av_log_set_level(AV_LOG_QUIET);
  Clock::time_point deadline = Clock::now() + patience;
  Movie movie = open(path, deadline);
  if (!movie) return 1;
  const AVStream* track = videoTrack(*movie);
  // The header tells everything but of a movie in fragments and of some codecs, whose first packets are looked at.
  if (!track || track->codecpar->width <= 0 || frameRate(*track) <= 0 || movie->duration <= 0) {
    if (avformat_find_stream_info(movie.get(), nullptr) < 0) return 1;
    track = videoTrack(*movie);
  }
  if (!track || track->codecpar->width <= 0 || track->codecpar->height <= 0) return 1;
  auto [width, height] = displayedSize(*track);
  double seconds = movie->duration > 0 ? static_cast<double>(movie->duration) / AV_TIME_BASE : 0;
  *facts = {std::llround(width), std::llround(height), seconds, frameRate(*track), hasSound(*movie) ? 1 : 0};
  return 0;
}
