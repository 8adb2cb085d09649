#pragma once

#include <string_view>

namespace kestu::PreviewPage {

inline constexpr std::string_view style = R"css(
:root {
  color-scheme: light dark;
  --ground: #f4f4f7; --card: #fff; --line: #dfdfe6; --ink: #1c1c22; --soft: #5f5f6a; --accent: #3d56d6;
  --good: #1b6b34; --good-soft: #e1f3e6; --bad: #a8231b; --bad-soft: #fbe6e4; --doubt: #7a4b00; --doubt-soft: #fdf0d5;
}
@media screen and (prefers-color-scheme: dark) {
  :root {
    --ground: #131318; --card: #1e1e25; --line: #34343e; --ink: #ededf2; --soft: #a6a6b3; --accent: #93a4ff;
    --good: #8ddba3; --good-soft: #17351f; --bad: #ff9b92; --bad-soft: #43201d; --doubt: #f2c879; --doubt-soft: #3a2c10;
  }
}
* { box-sizing: border-box; }
html { scroll-padding-top: 4rem; }
body { margin: 0; background: var(--ground); color: var(--ink); font: 16px/1.5 system-ui, sans-serif; }
header, main, footer { max-width: 62rem; margin: 0 auto; padding: 0 1rem; }
header { padding-top: 1.5rem; }
h1 { font-size: 1.6rem; line-height: 1.25; margin: 0; overflow-wrap: anywhere; }
h2 { font-size: 1.2rem; margin: 0 0 .6rem; display: flex; flex-wrap: wrap; gap: .3rem .6rem; align-items: baseline; }
h3 { font-size: 1.35rem; line-height: 1.25; margin: 0; overflow-wrap: anywhere; }
h4 { font-size: .95rem; margin: 1.4rem 0 .4rem; display: flex; flex-wrap: wrap; gap: .3rem .6rem; align-items: baseline; }
p, ul, dl, dd { margin: 0; padding: 0; }
a { color: var(--accent); }
a:focus-visible, input:focus-visible, ul:focus-visible { outline: 3px solid var(--accent); outline-offset: 2px; }
.soft { color: var(--soft); font-size: .875rem; font-weight: 400; }
.sums { display: flex; flex-wrap: wrap; gap: .4rem; margin: .7rem 0; }
.badge { border-radius: 1rem; padding: .1rem .6rem; font-size: .8rem; font-weight: 600; white-space: nowrap;
  background: var(--good-soft); color: var(--good); }
.badge.error { background: var(--bad-soft); color: var(--bad); }
.badge.warning, .badge.held { background: var(--doubt-soft); color: var(--doubt); }
.badge.removed { background: var(--bad-soft); color: var(--bad); }
.badge.plain { background: none; border: 1px solid var(--line); color: var(--soft); }
.left { border-inline-start: 4px solid var(--doubt); background: var(--doubt-soft); padding: .5rem .8rem; margin: .6rem 0;
  border-radius: .4rem; overflow-wrap: anywhere; }
nav { position: sticky; top: 0; z-index: 1; background: var(--ground); border-bottom: 1px solid var(--line); }
nav ul { max-width: 62rem; margin: 0 auto; padding: .5rem 1rem; display: flex; gap: .4rem; overflow-x: auto;
  list-style: none; }
nav a { display: block; white-space: nowrap; padding: .3rem .75rem; border: 1px solid var(--line); border-radius: 1rem;
  background: var(--card); color: var(--ink); text-decoration: none; font-size: .9rem; }
nav a:hover { border-color: var(--accent); }
nav .dot { display: inline-block; width: .55rem; height: .55rem; border-radius: 50%; background: var(--good);
  margin-inline-start: .4rem; }
nav .dot.error { background: var(--bad); }
nav .dot.warning { background: var(--doubt); }
.switch { display: flex; gap: .5rem; align-items: center; padding: .8rem 0 0; }
.switch input { width: 1.1rem; height: 1.1rem; accent-color: var(--accent); }
main > section { margin: 1.2rem 0; background: var(--card); border: 1px solid var(--line); border-radius: 1rem;
  padding: 1.2rem; }
.findings { list-style: none; display: grid; gap: .35rem; margin: .4rem 0; }
.findings li { border-inline-start: 4px solid var(--line); padding: .15rem .6rem; font-size: .9rem; overflow-wrap: anywhere;
  color: var(--ink); }
figcaption .findings li { font-size: .8rem; line-height: 1.35; padding: .2rem .5rem; }
.findings .error { border-color: var(--bad); background: var(--bad-soft); }
.findings .warning { border-color: var(--doubt); background: var(--doubt-soft); }
.findings b { text-transform: capitalize; }
.head { display: flex; gap: 1rem; align-items: center; margin-top: .8rem; }
.head > div:last-child { min-width: 0; flex: 1; }
.icon { flex: 0 0 auto; width: 5rem; height: 5rem; border-radius: 1.15rem; border: 2px dashed var(--line);
  display: grid; place-items: center; color: var(--soft); font-size: .75rem; }
.subtitle { color: var(--soft); overflow-wrap: anywhere; }
.text { white-space: pre-line; overflow-wrap: anywhere; max-width: 44rem; }
.differs { border-inline-start: 4px solid var(--good); padding-inline-start: .7rem; }
.differs.held { border-color: var(--doubt); }
ins, del { text-decoration: none; border-radius: .2rem; }
ins { background: var(--good-soft); color: var(--good); }
del { background: var(--bad-soft); color: var(--bad); text-decoration: line-through; }
.strip { display: flex; gap: .8rem; overflow-x: auto; padding: .3rem .3rem .6rem; margin: 0 -.3rem; list-style: none; align-items: flex-start; }
.strip li { flex: 0 0 auto; }
figure { margin: 0; width: min-content; }
figure img { display: block; height: 21rem; width: auto; max-width: 80vw; object-fit: contain; border-radius: .9rem;
  border: 1px solid var(--line); background: var(--ground); }
.stand { display: grid; place-content: center; gap: .3rem; text-align: center; height: 21rem; width: 10.5rem;
  padding: .8rem; border-radius: .9rem; border: 2px dashed var(--line); color: var(--soft); font-size: .85rem;
  overflow-wrap: anywhere; }
.stand.video { border-style: solid; background: var(--ground); }
.stand .play { font-size: 2rem; }
.stand.removed { border-color: var(--bad); }
figure.added img, figure.moved img, figure.changed img { outline: 3px solid var(--good); outline-offset: 1px; }
figcaption { margin-top: .4rem; font-size: .78rem; color: var(--soft); overflow-wrap: anywhere; min-width: 10.5rem; }
figcaption .badge { display: inline-block; margin-top: .15rem; }
dl { display: grid; grid-template-columns: minmax(8rem, auto) 1fr; gap: .5rem 1rem; margin-top: .4rem; }
dt { color: var(--soft); font-size: .9rem; }
dd { min-width: 0; overflow-wrap: anywhere; }
footer { padding-bottom: 2rem; }
body:has(#marks:not(:checked)) :is(del, .mark) { display: none; }
body:has(#marks:not(:checked)) ins { background: none; color: inherit; }
body:has(#marks:not(:checked)) .differs { border: 0; padding: 0; }
body:has(#marks:not(:checked)) figure img { outline: 0; }
body:has(main > section:target) main > section.language:not(:target) { display: none; }
@media (max-width: 36rem) {
  main > section { padding: .9rem; border-radius: .8rem; }
  .stand, figure img { height: 17rem; }
  .stand { width: 8.5rem; }
  dl { grid-template-columns: 1fr; gap: .1rem; }
  dd { margin-bottom: .5rem; }
}
@media print {
  :root { --ground: #fff; --card: #fff; --ink: #000; }
  nav, .switch { display: none; }
  main > section { border: 0; padding: 0; }
  .language ~ .language { break-before: page; }
  .strip { flex-wrap: wrap; overflow: visible; }
  .strip li, .findings li { break-inside: avoid; }
  figure img, .stand { height: 12rem; }
  .badge, .left, ins, del, .findings li { print-color-adjust: exact; -webkit-print-color-adjust: exact; }
}
)css";

} // namespace kestu::PreviewPage
