#pragma once

#include <string>
#include <string_view>

namespace kestu::sandbox::Page {

// Both texts in one as HTML: words that go in <del>, words that come in <ins>. Texts of more than a few thousand words
// are shown whole, one after the other.
std::string wordDifference(std::string_view before, std::string_view after);

} // namespace kestu::sandbox::Page
