#pragma once

#include "core/assets/asset_pull_plan.hpp"
#include "core/service/downloader.hpp"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace kestu {

namespace AssetPull {

/// Told the file that bytes came of, the bytes since the last call (below zero when it begins anew), and how many files
/// are finished; from any thread.
using Progress = std::function<void(const std::string& path, std::int64_t bytes, int files)>;

/// How many files are downloaded, and their bytes.
std::pair<int, std::uint64_t> downloads(const PullPlan& plan);

/// Carries a plan out: folders first, then files that are there already, then downloads, a few at once, each in place
/// as soon as it is whole; what App Store Connect doesn't show is removed last. A pull that ends early has lost nothing
/// and goes on when it is run again. Throws CLIError and Stopped.
PullReport carryOut(const PullPlan& plan, const std::filesystem::path& root, const Downloader& downloader,
                    const std::stop_token& stop, const Progress& progress);

} // namespace AssetPull

} // namespace kestu
