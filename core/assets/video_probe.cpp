#include "core/assets/video_probe.hpp"

#include "core/platform/executable.hpp"
#include "media/video_probe_module.h"

#include <string_view>
#include <system_error>

#include <dlfcn.h>

namespace kestu {

namespace {

#ifdef __APPLE__
constexpr std::string_view moduleNames[] = {"libkestu-media.dylib", "libkestu-media.so"};
#else
constexpr std::string_view moduleNames[] = {"libkestu-media.so"};
#endif

template <class Function>
Function symbol(void* module, const char* name) {
  return reinterpret_cast<Function>(dlsym(module, name));
}

VideoProbeFunction findModule() {
  auto executable = executablePath();
  if (!executable) return nullptr;
  for (const auto& file : VideoProbe::candidates(executable->parent_path())) {
    std::error_code ignored;
    if (!std::filesystem::exists(file, ignored)) continue;
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

std::vector<std::filesystem::path> VideoProbe::candidates(const std::filesystem::path& executableFolder) {
  std::filesystem::path lib = executableFolder.parent_path() / "lib";
  std::vector<std::filesystem::path> files;
  for (const auto& folder : {lib, lib / "kestu", executableFolder}) {
    for (std::string_view name : moduleNames) files.push_back(folder / name);
  }
  return files;
}

VideoProbeFunction VideoProbe::load(const std::filesystem::path& module) {
  // Never unloaded: not every library that comes with it can be.
  void* handle = dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (!handle) return nullptr;
  auto version = symbol<KestuMediaVersionFunction>(handle, "kestuMediaVersion");
  auto probe = symbol<KestuMediaProbeFunction>(handle, "kestuMediaProbe");
  if (!version || !probe || version() != KESTU_MEDIA_VERSION) return nullptr;
  return [probe](const std::filesystem::path& file) -> std::optional<VideoFacts> {
    KestuVideoFacts facts{};
    if (probe(file.c_str(), &facts) != 0) return std::nullopt;
    return VideoFacts{facts.width, facts.height, facts.seconds, facts.fps, facts.audio != 0};
  };
}

} // namespace kestu
