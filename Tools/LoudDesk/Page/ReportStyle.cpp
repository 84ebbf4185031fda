// Style sheet of the report. Colour never says anything alone: curves differ in width and dashes,
// verdicts in words.

#include "ReportStyle.h"

namespace louddesk {

const char kReportStyle[] = R"css(
:root {
  color-scheme: light;
  --page: #f4f6f8; --card: #ffffff; --edge: #dfe4ea; --text: #18212c; --muted: #566273;
  --grid: #e6eaef; --momentary: #6c97d2; --short: #1d5dbf; --integrated: #c2470a;
  --target: #12805a; --peak: #6a48c2; --limit: #c01f3c; --gate: #45505e; --range: #7b3aa0;
  --bar: #6f9bd6; --pass: #0e6b46; --fail: #b2152f; --noted: #8a5a00;
}
@media screen and (prefers-color-scheme: dark) {
  :root {
    color-scheme: dark;
    --page: #0f1319; --card: #171d26; --edge: #2a3340; --text: #e8edf4; --muted: #9fabbb;
    --grid: #26303c; --momentary: #4d76b3; --short: #82b4ff; --integrated: #ffb070;
    --target: #4fd1a1; --peak: #b7a2ff; --limit: #ff8296; --gate: #b6c0cd; --range: #d9a3f5;
    --bar: #4f7fc0; --pass: #5fdcab; --fail: #ff8b9d; --noted: #f0bd62;
  }
}
* { box-sizing: border-box; }
body {
  margin: 0 auto; padding: 32px 24px 48px; max-width: 1160px; background: var(--page);
  color: var(--text); font: 16px/1.5 system-ui, "Segoe UI", Roboto, "Helvetica Neue", sans-serif;
}
h1 { margin: 0; font-size: 30px; line-height: 1.2; letter-spacing: -0.01em; }
h2 { margin: 0; font-size: 21px; line-height: 1.3; overflow-wrap: anywhere; }
h3 { margin: 0 0 6px; font-size: 16px; }
header p { margin: 6px 0 24px; color: var(--muted); }
a { color: inherit; text-decoration-color: var(--muted); text-underline-offset: 3px; }
.unit, .path { color: var(--muted); font-weight: normal; }
.path { margin: 2px 0 0; font-size: 14px; overflow-wrap: anywhere; }
section, .figures {
  margin: 0 0 24px; padding: 20px 24px; background: var(--card); border: 1px solid var(--edge);
  border-radius: 12px;
}
table { width: 100%; border-collapse: collapse; font-variant-numeric: tabular-nums; }
th, td { padding: 8px 0 8px 16px; text-align: right; vertical-align: bottom; }
thead th { color: var(--muted); font-size: 13px; font-weight: 600; line-height: 1.3; }
tbody th { font-weight: 600; overflow-wrap: anywhere; }
tbody tr { border-top: 1px solid var(--edge); }
th:first-child { width: 26%; padding-left: 0; text-align: left; }
td { white-space: nowrap; }
td .unit { display: none; }
.verdicts { margin: 16px 0; padding: 0; list-style: none; display: grid; gap: 10px;
  grid-template-columns: repeat(auto-fit, minmax(min(100%, 380px), 1fr)); }
.verdicts li { padding: 10px 14px; border: 1px solid var(--edge); border-left-width: 5px;
  border-radius: 8px; }
.verdicts p { margin: 0; font-size: 14px; color: var(--muted); }
.verdicts .finding { font-size: 16px; color: var(--text); }
.verdict { font-weight: 700; white-space: nowrap; }
.pass { color: var(--pass); }
.fail { color: var(--fail); }
.noted { color: var(--noted); }
.none { color: var(--muted); }
li.is-pass { border-left-color: var(--pass); }
li.is-fail { border-left-color: var(--fail); border-left-style: double; }
.notes { margin: 0 0 12px; padding-left: 20px; }
figure { margin: 28px 0 0; }
figcaption, .axis { font-size: 13px; color: var(--muted); }
figcaption { margin-top: 4px; }
.axis { margin: 0; text-align: center; }
.legend { margin: 0 0 6px; padding: 0; list-style: none; display: flex; flex-wrap: wrap;
  gap: 2px 18px; font-size: 14px; }
.legend li { display: flex; align-items: center; gap: 7px; }
.sample { flex: none; width: 28px; height: 12px; }
.drawing { display: block; width: calc(100% - 96px); height: 280px; margin: 8px 52px 28px 44px;
  overflow: visible; font-size: 12px; }
.drawing text { fill: var(--muted); }
.x { text-anchor: middle; }
.y { text-anchor: end; }
.mark { paint-order: stroke; stroke: var(--card); stroke-width: 3px; stroke-linejoin: round; }
.drawing .mark { fill: var(--text); }
.end { text-anchor: end; }
path, line { fill: none; stroke-linecap: round; stroke-linejoin: round; }
line { stroke-linecap: butt; }
.grid { stroke: var(--grid); }
.momentary { fill: var(--momentary); fill-opacity: 0.5; stroke: var(--momentary); }
.momentary.band { stroke-width: 10px; stroke-opacity: 0.75; }
.band { stroke-linecap: butt; }
.short { stroke: var(--short); stroke-width: 1.75px; }
.integrated { stroke: var(--integrated); stroke-width: 2.5px; stroke-dasharray: 7 5; }
.target { fill: var(--target); fill-opacity: 0.2; }
.aim { stroke: var(--target); stroke-width: 1.25px; }
.aim.band { stroke-width: 10px; stroke-opacity: 0.4; }
.peaks { fill: var(--peak); fill-opacity: 0.16; }
.peak { fill: var(--peak); fill-opacity: 0.45; stroke: var(--peak); stroke-width: 0.75px; }
.peak.band { stroke-width: 10px; stroke-opacity: 0.55; }
.peak-dot { fill: var(--peak); stroke: var(--card); stroke-width: 1.5px; }
.forbidden { fill: var(--limit); fill-opacity: 0.1; }
.limit { stroke: var(--limit); stroke-width: 2px; stroke-dasharray: 2 4; }
.gate { stroke: var(--gate); stroke-width: 1.5px; stroke-dasharray: 2 3; }
.range { stroke: var(--range); stroke-width: 1.75px; }
.counted { fill: var(--bar); }
.gated { stroke: var(--bar); }
.sample-counted { stroke: var(--bar); stroke-width: 10px; stroke-linecap: butt; }
.sample-gated { stroke: var(--bar); stroke-width: 2px; stroke-dasharray: 5 3; }
.stripe { fill: var(--text); fill-opacity: 0.05; }
.predicted { fill: var(--noted); fill-opacity: 0.22; stroke: var(--noted); }
.sample-predicted { stroke: var(--noted); stroke-width: 10px; stroke-opacity: 0.35; }
.sample-target { stroke: var(--target); stroke-width: 10px; stroke-opacity: 0.3; }
.met-dot { fill: var(--pass); stroke: var(--card); }
.noted-dot { fill: var(--card); stroke: var(--noted); stroke-width: 2px; }
.failed-dot { fill: var(--fail); stroke: var(--text); stroke-width: 2px; }
.cases tbody th { font-weight: normal; }
.cases .case th { padding-top: 18px; font-weight: 600; }
.cases .case p { margin: 4px 0; font-size: 14px; font-weight: normal; color: var(--muted); }
.case .verdict { margin-left: 10px; }
.cases tbody .case + tr { border-top: 0; }
.cases th:first-child { width: 38%; }
.summary .meaning, .summary th:last-child { padding-left: 32px; text-align: left; }
.meaning { white-space: normal; }
footer { font-size: 14px; color: var(--muted); }
@media screen and (max-width: 760px) {
  body { padding: 20px 12px 32px; }
  h1 { font-size: 25px; }
  section, .figures { padding: 16px 14px; border-radius: 10px; }
  .drawing { width: calc(100% - 40px); height: 240px; margin-left: 34px; margin-right: 6px; }
  .other { display: none; }
  table, tbody, tr, th, td { display: block; }
  thead { position: absolute; width: 1px; height: 1px; overflow: hidden; clip-path: inset(50%); }
  tbody tr { padding: 10px 0; }
  tbody tr:first-child { border-top: 0; padding-top: 0; }
  th:first-child, .cases th:first-child { width: auto; padding: 0 0 4px; }
  td { display: flex; justify-content: space-between; padding: 3px 0; }
  td::before { content: attr(data-name); color: var(--muted); }
  td .unit { display: inline; }
  .summary .meaning { display: block; padding-left: 0; color: var(--muted); }
  .cases tbody tr { display: grid; grid-template-columns: 1fr 1fr; column-gap: 28px; }
  .cases tbody th { grid-column: 1 / -1; }
  .case .verdict { margin-left: 0; }
}
@media screen and (max-width: 360px) {
  .cases tbody tr { grid-template-columns: 1fr; }
}
@media print {
  :root { --page: #ffffff; }
  body { max-width: none; padding: 0; font-size: 11pt; }
  section, .figures { padding: 0; border: 0; }
  section + section { break-before: page; }
  figure, .verdicts li, tr { break-inside: avoid; }
  .drawing { height: 200px; }
  .target, .forbidden, .peaks, .counted, .aim, .sample-counted, li {
    print-color-adjust: exact; -webkit-print-color-adjust: exact;
  }
}
)css";

}  // namespace louddesk
