#pragma once

#include <string_view>

namespace kestu::sandbox::Page {

// Only what changed is drawn anew, so that the page keeps its place and the focus.
inline constexpr std::string_view script = R"js(
let last = null;
async function look() {
  try {
    const text = await (await fetch(location.href)).text();
    if (last !== null && text !== last) {
      const page = new DOMParser().parseFromString(text, 'text/html');
      document.querySelector('main').replaceWith(page.querySelector('main'));
    }
    last = text;
  } catch {
    // The sandbox may be starting again.
  }
  setTimeout(look, 2000);
}
look();
)js";

} // namespace kestu::sandbox::Page
