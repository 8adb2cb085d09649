#pragma once

#include "sandbox/http.hpp"
#include "sandbox/state.hpp"

// An app's App Store assets. Each function is called with the state held, but for `uploaded`.
namespace kestu::sandbox::Assets {

Answer catalog(State& state, const Call& call);
Answer listing(State& state, const Call& call);
// Says what would change and reserves what Apple doesn't have. Beside the planned languages the body has `files`, a
// list of {md5, fileName, size, video, assetId?}, for every file that may have to be reserved; a display may have
// `frames`, a map of a video's checksum to its poster frame, for the count of what is framed anew.
Answer plan(State& state, const Call& call);
// Takes the uploads as complete when every byte is right. Called without the state held: hashing takes its time.
Answer uploaded(State& state, const Call& call);
Answer commit(State& state, const Call& call);

// The bytes of a complete asset.
Answer file(State& state, const Call& call);

// The version that the query names; throws Refused when its assets can't change (409) or there is none (404).
Version& openVersion(State& state, const App& app, const Call& call);
// Nothing when the version shows none there.
const ShownDisplay* shown(const Version& version, const std::string& locale, const std::string& kind,
                          const std::string& group);

} // namespace kestu::sandbox::Assets
