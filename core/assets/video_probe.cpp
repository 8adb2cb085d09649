#include "core/assets/video_probe.hpp"

#include "core/platform/loaded_library.hpp"
#include "media/video_probe_module.h"

namespace kestu {

namespace {

VideoProbeFunction findModule() {
  for (const auto& file : LoadedLibrary::partFiles("libkestu-media")) {
    if (auto probe = VideoProbe::load(file)) return probe;
  }
  return nullptr;
}

const VideoProbeFunction& loaded() {
  static const VideoProbeFunction probe = findModule();
  return probe;
}

} // namespace

bool VideoProbe::available() { return loaded() != nullptr; }

VideoProbeFunction VideoProbe::system() {
  return [](const std::filesystem::path& file) {
    if (!available()) throw NoVideoModule();
    return loaded()(file);
  };
}

VideoProbeFunction VideoProbe::load(const std::filesystem::path& module) {
  try {
    LoadedLibrary library({module.c_str()});
    if (library.function<KestuMediaVersionFunction>("kestuMediaVersion")() != KESTU_MEDIA_VERSION) return nullptr;
    auto probe = library.function<KestuMediaProbeFunction>("kestuMediaProbe");
    return [probe](const std::filesystem::path& file) -> std::optional<VideoFacts> {
      KestuVideoFacts facts{};
      if (probe(file.c_str(), &facts) != 0) return std::nullopt;
      return VideoFacts{facts.width, facts.height, facts.seconds, facts.fps, facts.audio != 0};
    };
  } catch (const NotLoaded&) {
    return nullptr;
  }
}

} // namespace kestu
