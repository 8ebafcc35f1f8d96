#include <tools/PlanPage.h>
#include <tools/Svg.h>

/*
 * How the page looks: the reader's own fonts, one colour a family, lines instead of boxes. Up to
 * 36 rem the charts' narrow drawings are shown, and on paper as well, where two stand side by side;
 * paper gets no dark ground and no chart cut in two.
 */

namespace LpmTools {

namespace {

constexpr std::string_view rules = R"(
:root{color-scheme:light dark;--paper:#fff;--ink:#1b1f23;--quiet:#575e66;--rule:#d5d9dd;
--bad:#a8201a;--accent:#575e66}
@media screen and (prefers-color-scheme:dark){:root{--paper:#15181b;--ink:#e7e9eb;--quiet:#a5adb5;
--rule:#363d44;--bad:#ff9d94;--accent:#a5adb5}}
*{box-sizing:border-box}
body{margin:0 auto;padding:2rem 1rem 4rem;max-width:74rem;background:var(--paper);color:var(--ink);
font:1rem/1.5 system-ui,-apple-system,"Segoe UI","Noto Sans",sans-serif;
font-variant-numeric:tabular-nums lining-nums;overflow-wrap:anywhere}
h1,h2,h3{line-height:1.2;text-wrap:balance;break-after:avoid}
h1{font-size:clamp(1.5rem,1rem + 2.2vw,2.25rem);font-weight:650;letter-spacing:-.015em;
margin:0 0 .75rem}
h2{font-size:1.375rem;font-weight:650;margin:0 0 1rem;padding-top:.6rem;
border-top:3px solid var(--accent)}
h3{font-size:1rem;font-weight:650;margin:0}
p{margin:0 0 .5rem;max-width:42rem}
ul{margin:0 0 .5rem;padding-left:1.25rem}
section{margin-top:3rem}
.kind{color:var(--quiet);font-size:.875rem;margin-bottom:.25rem}
.bad,.fault{color:var(--bad)}
.verdict.bad p{font-weight:650}
.tiles{display:grid;grid-template-columns:repeat(4,minmax(0,1fr));gap:1.25rem;margin:0 0 2rem}
.tiles dt{color:var(--quiet);font-size:.8125rem}
.tiles dd{margin:0;font-size:1.5rem;line-height:1.25;font-weight:600;letter-spacing:-.01em}
.tiles dd.note{color:var(--quiet);font-size:.8125rem;line-height:1.35;font-weight:400;
letter-spacing:0}
.tiles .bad dt,.tiles .bad dd{color:var(--bad)}
.small{margin-top:.5rem;gap:1rem 1.25rem}
.small dd{font-size:1.0625rem}
.charts{display:grid;grid-template-columns:repeat(auto-fit,minmax(min(100%,30rem),1fr));
gap:2.25rem 2.5rem;margin-bottom:2.5rem}
figure{margin:0;min-width:0;max-width:46rem;break-inside:avoid}
figcaption p{color:var(--quiet);font-size:.875rem;margin:.125rem 0 .75rem}
figure svg{display:block;width:100%;height:auto;overflow:visible}
.narrow{display:none}
details{margin-top:.5rem;font-size:.875rem}
summary{color:var(--quiet);cursor:pointer;width:max-content;padding:.25rem 0}
summary:focus-visible,.scroll:focus-visible{outline:2px solid var(--accent);outline-offset:2px}
.scroll{overflow:auto;max-height:24rem;overflow-wrap:normal}
table{border-collapse:collapse;min-width:50%}
caption{text-align:left;color:var(--quiet);padding:.25rem 0}
th,td{padding:.2rem 0 .2rem 1.25rem;text-align:right;font-weight:400;white-space:nowrap;
border-bottom:1px solid var(--rule)}
thead th{position:sticky;top:0;background:var(--paper);color:var(--quiet);font-weight:600}
th:first-child{text-align:left;padding-left:0}.numbered th:first-child{text-align:right}
article{padding:1rem 0 .25rem;border-top:1px solid var(--rule)}
.inputs h2+article{border-top:0;padding-top:0}
.five{grid-template-columns:repeat(5,minmax(0,1fr))}
article .tiles{margin-bottom:.75rem}
article p,article ul{font-size:.875rem}
.terms dl{margin:0;display:grid;grid-template-columns:max-content minmax(0,42rem);gap:.25rem 1.5rem;
font-size:.875rem}
.terms dt{font-weight:600}
.terms dd{margin:0;color:var(--quiet)}
.unseen{position:absolute;width:1px;height:1px;overflow:hidden;clip-path:inset(50%);
white-space:nowrap}
@media screen and (max-width:36rem){.wide{display:none}.narrow{display:block}
.tiles,.five{grid-template-columns:repeat(2,minmax(0,1fr))}
.terms dl{grid-template-columns:minmax(0,1fr);gap:0}.terms dd{margin-bottom:.5rem}}
@media print{@page{margin:16mm 14mm}:root{color-scheme:light}
body{padding:0;max-width:none;font-size:10pt}
.wide,details:not([open]){display:none}.narrow{display:block}
.charts{grid-template-columns:1fr 1fr;gap:7mm 9mm}.scroll{overflow:visible;max-height:none}
.tiles{gap:4mm}.tiles div,article,.terms{break-inside:avoid}
section{margin-top:9mm}.family+.family{break-before:page;margin-top:0}h2{font-size:15pt}
thead th{position:static}}
)";

/** A family's colour, for its rule and for what its charts draw as style 0. */
std::string familyRules(bool dark) {
    std::string text;
    for (std::size_t style = 0; style < 2; ++style) {
        std::string const family = style == 0 ? ".ipv4" : ".ipv6";
        std::string const colour(svgColour(style, dark));
        text += family + "{--accent:" + colour + "}" + family + " svg .line0{stroke:" + colour +
                "}" + family + " svg .fill0{fill:" + colour + "}\n";
    }
    return text;
}

}  // namespace

std::string planStyle() {
    return svgRules() + std::string(rules) + familyRules(false) +
           "@media screen and (prefers-color-scheme:dark){" + familyRules(true) + "}\n";
}

}  // namespace LpmTools
