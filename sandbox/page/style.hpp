#pragma once

#include <string_view>

namespace kestu::sandbox::Page {

inline constexpr std::string_view style = R"css(
:root {
  color-scheme: light dark;
  --ground: #f4f4f7; --card: #fff; --line: #e2e2e8; --ink: #1c1c22; --soft: #64646f;
  --accent: #3d56d6; --accent-ink: #fff; --no: #b3261e; --yes-soft: #e4f4e8; --yes: #1b6b34; --no-soft: #fbe6e4;
}
@media (prefers-color-scheme: dark) {
  :root {
    --ground: #131318; --card: #1e1e25; --line: #34343e; --ink: #ededf2; --soft: #a0a0ad;
    --accent: #93a4ff; --accent-ink: #10142e; --no: #ff9b92; --yes-soft: #17351f; --yes: #8ddba3; --no-soft: #43201d;
  }
}
* { box-sizing: border-box; }
body { margin: 0; background: var(--ground); color: var(--ink); font: 16px/1.45 system-ui, sans-serif; }
header, main { max-width: 60rem; margin: 0 auto; padding: 0 1rem; }
header { padding-top: 1.5rem; display: flex; align-items: baseline; gap: .6rem; flex-wrap: wrap; }
h1 { font-size: 1.5rem; margin: 0; }
h2 { font-size: 1.05rem; margin: 2rem 0 .6rem; }
h3 { font-size: 1rem; margin: 0; overflow-wrap: anywhere; }
h4 { font-size: .85rem; margin: 1rem 0 .35rem; color: var(--soft); font-weight: 600; }
p, ul { margin: .3rem 0; }
ul { padding-left: 1.2rem; }
.soft { color: var(--soft); font-size: .875rem; }
.card { background: var(--card); border: 1px solid var(--line); border-radius: .8rem; padding: 1rem; margin-bottom: .7rem; }
.card.asked { border-color: var(--accent); box-shadow: 0 0 0 1px var(--accent); }
.code { font: 600 1.4rem/1.6 ui-monospace, monospace; letter-spacing: .08em; }
.buttons { display: flex; gap: .6rem; margin-top: .8rem; }
.buttons form { flex: 0 1 9rem; }
button { width: 100%; min-height: 2.75rem; border-radius: .6rem; font: inherit; font-weight: 600; cursor: pointer;
  background: none; border: 1px solid var(--line); color: var(--no); }
button.approve { background: var(--accent); border-color: var(--accent); color: var(--accent-ink); }
button:focus-visible { outline: 3px solid var(--accent); outline-offset: 2px; }
.row { display: flex; gap: .6rem; justify-content: space-between; align-items: baseline; padding: .45rem 0;
  border-top: 1px solid var(--line); }
.row:first-child { border-top: 0; }
.row > :first-child { overflow-wrap: anywhere; min-width: 0; }
.badge { border-radius: 1rem; padding: .1rem .6rem; font-size: .8rem; font-weight: 600; white-space: nowrap;
  background: var(--line); color: var(--ink); }
.badge.good { background: var(--yes-soft); color: var(--yes); }
.badge.bad { background: var(--no-soft); color: var(--no); }
.strip { display: flex; gap: .6rem; overflow-x: auto; padding-bottom: .3rem; }
figure { margin: 0; flex: 0 0 auto; max-width: 11rem; }
figure img, figure video { display: block; height: 9rem; max-width: 11rem; object-fit: contain; border-radius: .4rem;
  border: 1px solid var(--line); background: var(--ground); }
figcaption { font-size: .75rem; color: var(--soft); overflow: hidden; text-overflow: ellipsis; white-space: nowrap;
  max-width: 11rem; }
.text { white-space: pre-wrap; overflow-wrap: anywhere; }
ins, del { border-radius: .25rem; padding: 0 .15rem; text-decoration: none; }
ins { background: var(--yes-soft); color: var(--yes); }
del { background: var(--no-soft); color: var(--no); text-decoration: line-through; }
.sides { display: grid; grid-template-columns: 1fr 1fr; gap: 1rem; }
.sides > div { min-width: 0; }
@media (max-width: 36rem) { .sides { grid-template-columns: 1fr; } }
footer { height: 2rem; }
)css";

} // namespace kestu::sandbox::Page
