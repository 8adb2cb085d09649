#pragma once

#include "cli/app_platform.hpp"
#include "cli/metadata/layout_option.hpp"
#include "cli/versions/versions.hpp"
#include "core/assets/asset_sending.hpp"
#include "core/listing/listing_push.hpp"
#include "core/release/release_prepare.hpp"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kestu {

struct PrepareOptions : ChangeOptions {
  VersionTarget target;
  LayoutOption layout;
  ReleaseSettings settings; ///< those given as options
  bool noAssets = false;
};

/// A step of a preparation, and how it is made.
struct PreparedStep {
  ReleasePrepare::Step step;
  ReleasePrepare::StepState state = ReleasePrepare::StepState::left;
  std::string text{};  ///< what it does, or why nothing: "attach 1.2 (45)"
  std::string done{};  ///< what it did: "1.2 (45) attached"
  std::string lines{}; ///< more on what it does, for people
  bool waits = false;  ///< for approval
  std::vector<ChangeItem> items{};
  std::vector<JSONData> answers{}; ///< of the service, in order

  /// Its changes, asked for when its turn has come: may fetch, and upload. None when it turns out to be done.
  std::function<std::vector<ChangeRequest>()> requests{};
  std::function<void()> after{};         ///< once they are made
  std::function<bool()> isMadeAlready{}; ///< asked where it is refused: whether what it makes is there all the same

  bool isPlanned() const { return state == ReleasePrepare::StepState::planned; }
};

/// Finds out what a version lacks of what the repository and the options say. Changes nothing by itself; the steps
/// point into it.
class Preparation {
 public:
  /// Throws CLIError for all that keeps the version from being prepared.
  Preparation(Context& context, const PrepareOptions& options);
  Preparation(const Preparation&) = delete;
  Preparation& operator=(const Preparation&) = delete;

  std::vector<PreparedStep> steps();

  const Client& client() const { return client_; }
  const AppOnPlatform& app() const { return app_; }
  const std::string& number() const { return number_; }
  std::string title() const; ///< "1.2 for iOS"
  std::string nextCommand() const;

 private:
  void requireToCome() const;
  void findBuild();
  void findListing();
  void findAssets(const AssetCatalog& catalog);
  void awaitListed();
  bool isListedByNow();

  PreparedStep unchanged(ReleasePrepare::Step step, const std::string& subject) const;
  PreparedStep left(ReleasePrepare::Step step, const std::string& why) const;
  PreparedStep versionStep();
  PreparedStep buildStep() const;
  PreparedStep releaseStep() const;
  PreparedStep listingStep() const;
  PreparedStep assetsStep();
  PreparedStep testNotesStep() const;

  std::string versionPath() const;
  ListingTarget listingTarget() const;
  AssetDestination destination() const;

  Context& context_;
  const PrepareOptions& options_;
  const Client client_;
  const AppOnPlatform app_;
  const std::string number_;
  const Versions::CommandTail tail_;

  std::optional<RepoListing> repo_;
  ReleaseSettings wanted_;
  ReleasePrepare::VersionPlan version_;
  std::string versionId_; ///< empty until the version is there
  std::vector<ManagedBuild> builds_;
  std::optional<ManagedBuild> build_; ///< that it is to have
  bool attaches_ = false;
  StoreListing store_; ///< as the version has it, or is expected to once it is made
  ListingChange listing_;
  AssetSelection selection_;
  std::vector<AssetSet> sets_;
  std::optional<AssetSending> assets_; ///< planned for what the version shows so far; none where it is to be made
};

} // namespace kestu
