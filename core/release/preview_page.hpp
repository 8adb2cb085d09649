#pragma once

#include "core/release/release_preview.hpp"

#include <functional>
#include <stop_token>
#include <string>
#include <string_view>

/// A preview as one page of HTML that needs nothing else, neither a script nor the network.
namespace kestu::PreviewPage {

/// Stands in every page within its first bytes, by which one is known for what may be written anew.
inline constexpr std::string_view mark = R"(<meta name="generator" content="kestu release preview">)";
inline constexpr std::size_t markWithin = 512;

/// Hands the page over in pieces, its images read meanwhile, so that no more than one piece of one is held. Throws
/// std::system_error for one that can't be read to its end, and Stopped.
void write(const ReleasePreview& preview, const std::function<void(std::string_view)>& sink,
           const std::stop_token& stop = {});

/// Text for an element or an attribute in quotes; what is harmful in a text is visible.
std::string escaped(std::string_view text);

} // namespace kestu::PreviewPage
