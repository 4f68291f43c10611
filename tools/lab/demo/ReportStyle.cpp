// The style sheet of the report page: one set of colours for light and one for dark surroundings.
#include "tools/lab/demo/ReportStyle.h"

namespace lab {

const std::string_view ReportStyle = R"css(
:root { color-scheme: light dark;
  --page: #f5f6f4; --card: #ffffff; --ink: #1c242b; --soft: #5c6872; --line: #dfe3e1; --band: #eef1ef;
  --in: #2f6fae; --out: #c26a1f; --ok: #23794a; --okback: #e2f3e8; --bad: #b3261e; --badback: #fbe6e4; }
@media (prefers-color-scheme: dark) { :root {
  --page: #14181b; --card: #1c2226; --ink: #e6eaec; --soft: #98a4ac; --line: #2f373d; --band: #242b30;
  --in: #6aaaf0; --out: #f0a35a; --ok: #6fd39a; --okback: #1b3527; --bad: #ff8a80; --badback: #41201e; } }
* { box-sizing: border-box; }
body { margin: 0; background: var(--page); color: var(--ink);
  font: 15px/1.5 system-ui, -apple-system, "Segoe UI", "Noto Sans", "DejaVu Sans", sans-serif; }
main { max-width: 1020px; margin: 0 auto; padding: 36px 20px 60px; }
header { margin-bottom: 28px; }
.product { margin: 0; color: var(--soft); letter-spacing: .08em; text-transform: uppercase; font-size: 13px; }
h1 { margin: 0 0 14px; font-size: 34px; line-height: 1.15; font-weight: 650; }
.banner { margin: 0 0 18px; padding: 12px 18px; border-radius: 10px; font-size: 18px; font-weight: 600; }
.banner.ok, .pill.ok { color: var(--ok); background: var(--okback); }
.banner.bad, .pill.bad { color: var(--bad); background: var(--badback); }
.tiles { display: grid; grid-template-columns: repeat(auto-fit, minmax(140px, 1fr)); gap: 12px; }
.tiles div { background: var(--card); border: 1px solid var(--line); border-radius: 10px; padding: 12px 16px; }
.tiles b { display: block; font-size: 24px; font-weight: 650; font-variant-numeric: tabular-nums; line-height: 1.25; }
.tiles span { color: var(--soft); font-size: 13px; }
nav { margin-top: 18px; display: flex; flex-wrap: wrap; gap: 8px; }
nav a { color: var(--ink); text-decoration: none; font-size: 13px; padding: 3px 12px 3px 10px;
  border: 1px solid var(--line); border-radius: 99px; background: var(--card); }
nav a::before { content: "\2713\00a0"; color: var(--ok); }
nav a.bad::before { content: "\2717\00a0"; color: var(--bad); }
section { background: var(--card); border: 1px solid var(--line); border-radius: 12px; padding: 22px 26px; margin: 0 0 18px; }
h2 { margin: 0 0 6px; font-size: 20px; font-weight: 650; display: flex; align-items: center; gap: 10px; flex-wrap: wrap; }
.number { color: var(--soft); font-weight: 500; font-variant-numeric: tabular-nums; }
.pill { font-size: 12px; font-weight: 600; padding: 2px 10px; border-radius: 99px; margin-left: auto; }
.intro { margin: 0 0 14px; color: var(--soft); max-width: 75ch; }
figure { margin: 0 0 16px; }
section > figure:last-child { margin-bottom: 0; }
figcaption { color: var(--soft); font-size: 13px; margin-top: 4px; max-width: 95ch; }
svg { display: block; width: 100%; height: auto; }
svg text { font: 11.5px system-ui, "Noto Sans", "DejaVu Sans", sans-serif; fill: var(--soft); font-variant-numeric: tabular-nums; }
svg text.row { fill: var(--ink); font-size: 12px; }
svg text.in { fill: var(--in); }
svg text.out { fill: var(--out); }
svg text.label { font-size: 12.5px; font-weight: 600; }
svg text.marklabel { fill: var(--ink); font-weight: 600; }
.wave.in { fill: var(--in); }
.wave.out { fill: var(--out); }
.grid, .axis { stroke: var(--line); stroke-width: 1; }
.mark { stroke: var(--out); stroke-width: 1.5; stroke-dasharray: 4 3; }
.band { fill: transparent; }
.band.odd { fill: var(--band); }
.recordings { display: grid; grid-template-columns: repeat(auto-fit, minmax(380px, 1fr)); gap: 12px 18px; margin: 0 0 18px; }
.recording span { display: block; font-size: 13px; font-weight: 600; margin-bottom: 2px; }
.recording a { font-size: 12px; color: var(--soft); }
audio { display: block; width: 100%; height: 36px; }
.scroll { overflow-x: auto; }
table { border-collapse: collapse; width: 100%; font-size: 14px; }
th { text-align: left; font-weight: 600; }
thead th { color: var(--soft); font-size: 12px; letter-spacing: .04em; text-transform: uppercase; }
td, th { padding: 6px 12px 6px 0; vertical-align: top; border-top: 1px solid var(--line); }
thead th { border-top: 0; }
.checks td, .matrix td { font-variant-numeric: tabular-nums; }
.checks td:nth-child(2) { width: 38%; }
.verdict { width: 28px; font-weight: 700; }
tr.ok .verdict { color: var(--ok); }
tr.bad .verdict, tr.bad td:last-child { color: var(--bad); font-weight: 600; }
tr.bad { background: var(--badback); }
.matrix { width: auto; font-size: 13.5px; }
.matrix td, .matrix th { padding-right: 18px; white-space: nowrap; }
.matrix tr:first-child th { border-top: 0; color: var(--soft); font-size: 13px; }
.facts th { width: 190px; color: var(--soft); font-weight: 500; }
.facts td { overflow-wrap: anywhere; }
summary { cursor: pointer; color: var(--soft); }
pre { font: 12px/1.45 ui-monospace, "DejaVu Sans Mono", monospace; max-height: 480px; overflow: auto;
  background: var(--page); border: 1px solid var(--line); border-radius: 8px; padding: 12px; margin: 10px 0 0; }
@media print { section { break-inside: avoid; } audio { display: none; } }
)css";

}  // namespace lab
