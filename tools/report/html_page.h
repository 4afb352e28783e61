#ifndef QUORVEL_TOOLS_REPORT_HTML_PAGE_H_
#define QUORVEL_TOOLS_REPORT_HTML_PAGE_H_

// The fixed parts of the HTML report. They contain nothing of a result file.
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
input { font: inherit; padding: .35rem .5rem; width: min(100%, 24rem); }
summary { cursor: pointer; overflow-wrap: anywhere; }
.run { border-top: 1px solid var(--line); padding: .5rem 0; content-visibility: auto;
  contain-intrinsic-size: auto 3rem; }
.run > summary { font-size: 1.1rem; font-weight: 600; }
dl { display: grid; grid-template-columns: max-content 1fr; gap: .1rem 1rem; margin: .5rem 0; }
dt { color: var(--soft); } dd { margin: 0; overflow-wrap: anywhere; }
.lanes { display: grid; grid-template-columns: max-content 1fr; gap: 0 .5rem; margin: .75rem 0;
  background: var(--panel); padding: .5rem; position: sticky; top: 0; max-height: 40vh; overflow: auto; }
.lanes ol { list-style: none; margin: 0; padding: 0; font-size: 12px; color: var(--soft); }
.lanes li { height: 20px; line-height: 20px; }
svg { width: 100%; display: block; }
rect { fill: var(--pass); } .f { fill: var(--fail); cursor: pointer; }
.c { fill: var(--conflict); } .s { stroke: var(--text); stroke-width: 2; vector-effect: non-scaling-stroke; }
.items { list-style: none; margin: 0; padding: 0; }
.items > li { border-top: 1px solid var(--line); padding: .3rem 0; }
.items a { color: var(--soft); margin-left: .5rem; text-decoration: none; }
pre { font: inherit; white-space: pre-wrap; overflow-wrap: anywhere; margin: .4rem 0 .4rem 1.2rem; }
.red, .warning { color: var(--fail); } .warning { margin: .4rem 0 .4rem 1.2rem; }
.table { overflow-x: auto; margin-left: 1.2rem; }
table { border-collapse: collapse; font-variant-numeric: tabular-nums; }
th, td { padding: .1rem .6rem; text-align: right; } th { color: var(--soft); font-weight: 400; }
th:last-child, td:last-child { text-align: left; overflow-wrap: anywhere; }
img { max-width: 100%; margin-left: 1.2rem; }
[hidden] { display: none; }
@media (max-width: 40rem) { pre, .table, .warning, img { margin-left: 0; } th, td { padding: .1rem .3rem; } }
</style>
</head>
<body>
<h1>Test runs</h1>
<p><label>Filter by name or code<br><input id="filter" type="search"></label></p>
)";

constexpr const char kHtmlEnd[] = R"(<script>
'use strict';
const all = (parent, selector) => Array.from(parent.querySelectorAll(selector));
function choose(item) {
  const run = item.closest('.run');
  for (const bar of all(run, '.c, .s')) bar.classList.remove('c', 's');
  const bars = new Map(all(run, 'rect').map(bar => [bar.dataset.i, bar]));
  const mark = (i, name) => { if (bars.has(i)) bars.get(i).classList.add(name); };
  mark(item.dataset.i, 's');
  if (item.dataset.c) for (const i of item.dataset.c.split(' ')) mark(i, 'c');
}
document.addEventListener('toggle', event => {
  if (event.target.matches('.item') && event.target.open) choose(event.target);
}, true);
function show(item) {
  item.closest('.run').open = true;
  item.open = true;
  choose(item);
  item.scrollIntoView({block: 'center'});
}
document.addEventListener('click', event => {
  if (!event.target.matches('rect.f')) return;
  const run = event.target.closest('.run');
  const item = all(run, '.item').find(other => other.dataset.i === event.target.dataset.i);
  if (item) show(item);
});
function showLinked() {
  const item = document.getElementById(location.hash.slice(1));
  if (item && item.matches('.item')) show(item);
}
addEventListener('hashchange', showLinked);
showLinked();
document.getElementById('filter').addEventListener('input', event => {
  const text = event.target.value.toLowerCase();
  for (const run of all(document, '.run')) {
    let found = 0;
    for (const item of all(run, '.item')) {
      const isHit = item.dataset.k.toLowerCase().includes(text);
      item.parentNode.hidden = !isHit;
      found += isHit;
    }
    run.hidden = text !== '' && found === 0;
    if (text !== '' && found > 0) run.open = true;
  }
});
addEventListener('beforeprint', () => { for (const part of all(document, 'details')) part.open = true; });
</script>
</body>
</html>
)";

}  // namespace quorvel::report

#endif  // QUORVEL_TOOLS_REPORT_HTML_PAGE_H_
