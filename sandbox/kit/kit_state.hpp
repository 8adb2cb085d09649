#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace kestu::sandbox {

struct KitFlag {
  std::string key;
  std::string type = "bool"; // or "text", "number", "json"
  std::optional<bool> on = std::nullopt;
  std::string value = {}; // JSON; empty for none
  std::optional<double> rollout = std::nullopt;
  std::optional<std::string> notes = std::nullopt;
  std::optional<std::chrono::system_clock::time_point> updatedAt = std::nullopt;
};

struct KitVariant {
  std::string name, value; // the value as JSON
  double share = 50;
  int users = 0;
  std::optional<double> rate = std::nullopt, lift = std::nullopt, confidence = std::nullopt;
};

struct KitExperiment {
  std::string experimentId, name, flag, metric;
  std::string state = "draft"; // or "running", "stopped"
  std::vector<KitVariant> variants = {};
  std::optional<std::chrono::system_clock::time_point> startedAt = std::nullopt, stoppedAt = std::nullopt;
};

struct KitPrompt {
  std::string promptId, platform, below;
  bool required = false, on = false;
  std::map<std::string, std::string> messages = {};
  int shown = 0, updated = 0;
};

struct WhatsNewPage {
  std::string version, platform;                  // empty for every platform's
  std::string state = "draft";                    // or "published"
  std::map<std::string, std::string> titles = {}; // by language
  std::set<std::string> images = {};              // the checksums that its body's images have
  std::optional<std::chrono::system_clock::time_point> updatedAt = std::nullopt;
};

// By app; the newest page first.
struct KitState {
  std::map<std::int64_t, std::vector<KitFlag>> flags;
  std::map<std::int64_t, std::vector<KitExperiment>> experiments;
  std::map<std::int64_t, std::vector<KitPrompt>> prompts;
  std::map<std::int64_t, std::vector<WhatsNewPage>> pages;
};

} // namespace kestu::sandbox
