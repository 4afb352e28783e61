#ifndef QUORVEL_TOOLS_REPORT_HTML_PAGE_H_
#define QUORVEL_TOOLS_REPORT_HTML_PAGE_H_

// The fixed parts of the HTML report. They contain no value of a result file.
namespace quorvel::report {

constexpr const char kHtmlStart[] = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; style-src 'unsafe-inline'; script-src 'unsafe-inline'; img-src data:">
<title>Test runs</title>
<style>
:root { color-scheme: light dark; --back: #fff; --text: #1c2530; --soft: #5a6775; --line: #c9d1d9;
  --pass: #b4c0cc; --fail: #c62828; --conflict: #e67700; --panel: #f4f6f8; }
@media (prefers-color-scheme: dark) {
  :root { --back: #12171d; --text: #e4e9ee; --soft: #a0acb8; --line: #3a4550; --pass: #4d5b69;
    --fail: #ff6b6b; --conflict: #ffa94d; --panel: #1b222a; } }
* { box-sizing: border-box; }
body { margin: 0 auto; padding: 1rem; max-width: 75rem; background: var(--back); color: var(--text);
  font: 16px/1.45 system-ui, sans-serif; }
h1 { font-size: 1.5rem; margin: 0 0 .75rem; }
#search, #totals { margin: .5rem 0 1rem; }
input { font: inherit; padding: .35rem .5rem; width: min(100%, 24rem); }
.legend { font-size: 12px; color: var(--soft); margin: .25rem 0; }
summary { cursor: pointer; overflow-wrap: anywhere; }
.run { border-top: 1px solid var(--line); padding: .5rem 0; }
.run > summary { font-size: 1.1rem; font-weight: 600; }
dl { display: grid; grid-template-columns: max-content 1fr; gap: .1rem 1rem; margin: .5rem 0; }
dt { color: var(--soft); } dd { margin: 0; overflow-wrap: anywhere; }
.lanes { display: grid; grid-template-columns: max-content 1fr; gap: 0 .5rem; margin: .75rem 0;
  background: var(--panel); padding: .5rem; position: sticky; top: 0; max-height: 40vh; overflow: auto; }
.lanes ol { list-style: none; margin: 0; padding: 0; font-size: 12px; color: var(--soft); }
.lanes li { height: 20px; line-height: 20px; }
svg { width: 100%; display: block; }
rect { fill: var(--pass); } rect.f { fill: var(--fail); cursor: pointer; }
rect.c { fill: var(--conflict); } .legend .c { color: var(--conflict); }
rect.s { stroke: var(--text); stroke-width: 2; vector-effect: non-scaling-stroke; }
.item { scroll-margin-top: 42vh; }  /* below the timeline */
.item, .all { border-top: 1px solid var(--line); padding: .3rem 0; }
.item a { color: var(--soft); margin-left: .5rem; text-decoration: none; }
pre { font: inherit; white-space: pre-wrap; overflow-wrap: anywhere; }
pre, .own, .warning { margin: .4rem 0 .4rem 1.2rem; }
.own b, .own i { font: inherit; overflow-wrap: anywhere; }
.red, .warning, .legend .f { color: var(--fail); }
.table { overflow-x: auto; margin-left: 1.2rem; }
table { border-collapse: collapse; font-variant-numeric: tabular-nums; }
th, td { padding: .1rem .6rem; text-align: right; } th { color: var(--soft); font-weight: 400; }
th:last-child, td:last-child { text-align: left; overflow-wrap: anywhere; }
img { max-width: 100%; margin-left: 1.2rem; }
[hidden] { display: none; }
@media (max-width: 40rem) {
  pre, .own, .table, .warning, img { margin-left: 0; } th, td { padding: .1rem .3rem; } }
@media print {
  .lanes { position: static; max-height: none; }
  #search { display: none; } details::details-content { content-visibility: visible; } }
</style>
</head>
<body>
<h1>Test runs</h1>
<p id="search" hidden><label>Filter by name or code<br><input id="filter" type="search"></label></p>
<p class="legend"><b class="f">&#9632;</b> failed item <b class="c">&#9632;</b> conflict of the chosen item</p>
)";

constexpr const char kHtmlEnd[] = R"(<script>
'use strict';
const all = (parent, selector) => Array.from(parent.querySelectorAll(selector));
const byItem = elements => new Map(elements.map(element => [element.dataset.i, element]));
const runs = all(document, '.run');
const known = new Map();
// The parts of a run by the numbers of its items. Row 0 is the heading of the table.
function partsOf(run) {
  if (!known.has(run)) known.set(run, {
    rows: all(run, '.all tr'), bars: byItem(all(run, 'rect')), items: byItem(all(run, '.item'))});
  return known.get(run);
}
function conflictsOf(item) {
  const list = item.querySelector('.own i');
  return list ? list.textContent.split(' ') : [];
}
let chosen = null;
function clearChosen() {
  if (!chosen) return;
  for (const bar of all(chosen.closest('.run'), '.c, .s')) bar.classList.remove('c', 's');
  chosen = null;
}
function choose(item) {
  clearChosen();
  chosen = item;
  const {bars} = partsOf(item.closest('.run'));
  const mark = (i, name) => { if (bars.has(i)) bars.get(i).classList.add(name); };
  mark(item.dataset.i, 's');
  for (const i of conflictsOf(item)) mark(i, 'c');
  writeTable(item);
}
// Replaces the numbers of the conflicts by a table.
function writeTable(item) {
  const own = item.querySelector('.own');
  if (!own || own.hidden) return;
  own.hidden = true;
  const {rows} = partsOf(item.closest('.run'));
  const table = document.createElement('table');
  const write = (kind, texts) => {
    const row = table.insertRow();
    for (const text of texts) row.appendChild(document.createElement(kind)).textContent = text;
  };
  const textsOf = i => Array.from(rows[i].cells, cell => cell.textContent);
  const [start, end, thread] = all(own, 'b').map(part => part.textContent);
  write('th', ['start', 'end', 'overlap', 'thread', 'name']);
  write('td', [start, end, '', thread, textsOf(item.dataset.i)[6]]);
  for (const i of conflictsOf(item)) {
    const [, from, to, other, , , name] = textsOf(i);
    write('td', [from, to, Math.min(end, to) - Math.max(start, from), other, name]);
  }
  const box = document.createElement('div');
  box.className = 'table';
  box.append(table);
  own.after(box);
}
document.addEventListener('toggle', event => {
  const item = event.target;
  if (!item.matches('.item')) return;
  if (item.open && item !== chosen) choose(item);
  else if (!item.open && item === chosen) clearChosen();
}, true);
function show(item) {
  if (item.hidden) {
    filter.value = '';
    applyFilter();
  }
  item.closest('.run').open = true;
  item.open = true;
  choose(item);
  item.scrollIntoView();
}
document.addEventListener('click', event => {
  if (!event.target.matches('rect.f')) return;
  const item = partsOf(event.target.closest('.run')).items.get(event.target.dataset.i);
  if (item) show(item);
});
const filter = document.getElementById('filter');
let keys = null;
let openRuns = null;
// A key of a failed item is its row, its name and its codes.
function readKeys() {
  return runs.map(run => {
    const {rows, items} = partsOf(run);
    return Array.from(items, ([i, item]) => {
      const cells = rows[i].cells;
      const text = [item.firstChild.firstChild, cells[6], cells[4]].map(part => part.textContent);
      return {item, text: text.join('\n').toLowerCase()};
    });
  });
}
function applyFilter() {
  const text = filter.value.trim().toLowerCase();
  keys = keys || readKeys();
  if (text && !openRuns) openRuns = runs.map(run => run.open);
  runs.forEach((run, number) => {
    let found = 0;
    for (const key of keys[number]) {
      key.item.hidden = !key.text.includes(text);
      found += !key.item.hidden;
    }
    run.hidden = text !== '' && found === 0;
    if (text) run.open = found > 0;
    else if (openRuns) run.open = openRuns[number];
  });
  if (!text) openRuns = null;
}
filter.addEventListener('input', applyFilter);
function showLinked() {
  const target = document.getElementById(location.hash.slice(1));
  if (target && target.matches('.item')) show(target);
  else if (target && target.matches('.run')) target.open = true;
}
addEventListener('hashchange', showLinked);
let closedParts = [];
addEventListener('beforeprint', () => {
  closedParts = all(document, 'details:not([open])');
  for (const part of closedParts) part.open = true;
  for (const item of all(document, '.item')) writeTable(item);
});
addEventListener('afterprint', () => { for (const part of closedParts) part.open = false; });
document.querySelector('h1').after(document.getElementById('totals'));
document.getElementById('search').hidden = false;
showLinked();
</script>
</body>
</html>
)";

}  // namespace quorvel::report

#endif  // QUORVEL_TOOLS_REPORT_HTML_PAGE_H_
