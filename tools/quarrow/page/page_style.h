#pragma once

// Private to the pages: how they look and what their scripts do.

namespace quarrow {

constexpr const char* pageStyle = R"(
:root { color-scheme: light dark; --ink: #1c2228; --paper: #ffffff; --soft: #5b6672; --line: #d5dbe1; --panel: #f5f7f9;
  --accent: #1f5fa8; --mark: #e4f3e2 }
@media (prefers-color-scheme: dark) { :root { --ink: #e3e8ed; --paper: #14181c; --soft: #9aa6b2; --line: #343c45;
  --panel: #1c2228; --accent: #86b7ee; --mark: #233a26 } }
* { box-sizing: border-box }
body { margin: 0 auto; padding: 1.5rem; max-width: 76rem; font: 15px/1.45 system-ui, sans-serif; color: var(--ink);
  background: var(--paper) }
h1 { font-size: 1.5rem; margin: 0 0 .25rem }
h2 { font-size: 1.15rem; margin: 2.25rem 0 .6rem; padding-top: .6rem; border-top: 1px solid var(--line) }
a { color: var(--accent) }
nav a { margin-right: 1rem }
nav, .soft { color: var(--soft) }
td.word, .whole { white-space: nowrap }
.wide { overflow-x: auto }
table { border-collapse: collapse }
th, td { text-align: left; vertical-align: top; padding: .22rem .9rem .22rem 0; border-bottom: 1px solid var(--line) }
th { font-weight: 600; color: var(--soft); white-space: nowrap }
.number { text-align: right; font-variant-numeric: tabular-nums }
td.code, code { font-family: ui-monospace, monospace; font-size: .92em }
details { border-bottom: 1px solid var(--line); padding: .3rem 0 }
td details { border: 0 }
summary { cursor: pointer }
summary code { margin-right: .8rem }
td details { border: 0; padding: .1rem 0 }
details table { margin: .4rem 0 .6rem 1.1rem }
.names { max-height: 20rem; overflow: auto; overflow-wrap: anywhere }
.chips { display: flex; flex-wrap: wrap; gap: .35rem; padding: 0; margin: .5rem 0; list-style: none }
.chips li { border: 1px solid var(--line); border-radius: .35rem; padding: .05rem .5rem; background: var(--panel) }
.chips li.usable { background: var(--mark) }
.key { display: inline-block; width: .9em; height: .9em; border: 1px solid var(--line); background: var(--mark);
  vertical-align: -.1em }
.search { display: block; margin: .5rem 0 }
.search input { font: inherit; color: inherit; background: var(--panel); border: 1px solid var(--line);
  border-radius: .35rem; padding: .3rem .6rem; width: min(26rem, 100%) }
.search input::placeholder { color: var(--soft); opacity: 1 }
.search output { margin-left: .6rem; color: var(--soft) }
[hidden] { display: none !important }
.picture svg { max-width: 100%; height: auto }
td:first-child { white-space: pre }
@media (prefers-color-scheme: dark) {
  .picture svg rect { stroke: #55606b }
  .picture svg text { fill: #e3e8ed }
  .picture svg .page { fill: #14181c; stroke: none }
  .picture svg .package { fill: #1c2228 }
  .picture svg .group { fill: #262e36 }
  .picture svg .core { fill: #14181c }
  .picture svg .performance { fill: #352a45 }
  .picture svg .efficient { fill: #233a26 }
  .picture svg .low-power { fill: #3d3a1e }
  .picture svg .thread { fill: #1f3b57 }
  .picture svg .l1 { fill: #4a3f1e }
  .picture svg .l2 { fill: #55401d }
  .picture svg .l3 { fill: #5a3726 }
  .picture svg .l4 { fill: #4f2f39 }
}
@media print {
  :root { color-scheme: light; --ink: #000000; --paper: #ffffff; --soft: #444444; --line: #bbbbbb; --panel: #ffffff;
    --mark: #eeeeee }
  body { max-width: none; padding: 0; font-size: 10.5pt }
  nav, .search { display: none }
  h2, summary, tr { break-after: avoid }
  table, svg { break-inside: avoid-page }
  .wide, .names { overflow: visible; max-height: none }
}
)";

// Each search field shows the elements that hold all its words, tells how many, and opens what they are folded in. Of
// what is folded in them it opens that of class "opens" where a word was found in there alone. What is folded is not
// printed.
constexpr const char* pageScript = R"(
for (const search of document.querySelectorAll('.search')) {
  const input = search.querySelector('input'), output = search.querySelector('output');
  const rows = [...document.querySelectorAll(search.dataset.rows)];
  const textOf = element => (element.textContent + ' ' + element.title).toLowerCase();
  const texts = rows.map(textOf);
  const folds = rows.map(row => [...row.querySelectorAll('.opens')].map(fold => [fold, textOf(fold)]));
  const unfolded = texts.map((text, i) => folds[i].reduce((rest, fold) => rest.replace(fold[1].trim(), ''), text));
  search.hidden = false;
  input.addEventListener('input', () => {
    const words = input.value.toLowerCase().split(/\s+/).filter(Boolean);
    let shown = 0;
    rows.forEach((row, i) => {
      const hit = words.every(word => texts[i].includes(word));
      row.hidden = !hit;
      shown += hit;
      for (const [fold, text] of folds[i]) {
        fold.open = hit && words.some(word => text.includes(word) && !unfolded[i].includes(word));
      }
    });
    for (const folded of new Set(rows.map(row => row.closest('details')).filter(Boolean))) {
      const hit = [...folded.querySelectorAll(search.dataset.rows)].some(row => !row.hidden);
      folded.hidden = !hit;
      folded.open = hit && words.length > 0;
    }
    output.textContent = words.length ? shown + ' of ' + rows.length : '';
  });
}
)";

} // namespace quarrow
