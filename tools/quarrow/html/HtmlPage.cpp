#include <tools/quarrow/html/HtmlPage.h>

#include <tools/quarrow/Text.h>

namespace quarrow {
namespace {

constexpr const char* pageStyle = R"(
:root { color-scheme: light dark; --ink: #1b1f24; --paper: #fff; --faint: #57606a; --line: #d0d7de; --tint: #f6f8fa;
  --mark: #0b5cad; }
@media (prefers-color-scheme: dark) { :root { --ink: #e6edf3; --paper: #0d1117; --faint: #9da7b3; --line: #30363d;
  --tint: #161b22; --mark: #6cb6ff; } }
body { font: 15px/1.45 system-ui, sans-serif; color: var(--ink); background: var(--paper); margin: 2rem auto;
  max-width: 75rem; padding: 0 1rem; }
h1 { font-size: 1.5rem; margin: 0 0 .25rem; }
p { margin: .25rem 0 1rem; color: var(--faint); }
table { border-collapse: collapse; width: 100%; }
th, td { text-align: left; vertical-align: top; padding: .4rem .6rem; border-bottom: 1px solid var(--line); }
th { background: var(--tint); }
.number { text-align: right; font-variant-numeric: tabular-nums; white-space: nowrap; }
.faint { color: var(--faint); }
.names { max-height: 20rem; overflow: auto; overflow-wrap: anywhere; }
summary { cursor: pointer; color: var(--mark); }
.filter { font: inherit; padding: .35rem .6rem; width: min(30rem, 100%); margin-bottom: 1rem; color: inherit;
  background: var(--tint); border: 1px solid var(--line); border-radius: .35rem; box-sizing: border-box; }
[hidden] { display: none; }
@media print { :root { --ink: #000; --paper: #fff; --faint: #333; --line: #999; --tint: #eee; --mark: #000; }
  body { margin: 0; max-width: none; font-size: 10pt; } .filter { display: none; } tr { break-inside: avoid; }
  .names { max-height: none; overflow: visible; } }
)";

constexpr const char* pageScript = R"(
for (const filter of document.querySelectorAll('.filter')) {
  const rows = Array.from(document.querySelectorAll('.row'), row => [row, row.textContent.toLowerCase()]);
  filter.addEventListener('input', () => {
    const wanted = filter.value.trim().toLowerCase();
    for (const [row, text] of rows) row.hidden = !text.includes(wanted);
  });
}
)";

} // namespace

std::string htmlText(const std::string& text) {
    return markup(zel::String::fromUtf8(text));
}

std::string htmlElement(const std::string& name, const std::string& kind, const std::string& body) {
    return "<" + name + (kind.empty() ? "" : " class=\"" + kind + "\"") + ">" + body + "</" + name + ">";
}

std::string htmlPage(const std::string& title, const std::string& body) {
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n" +
           htmlElement("title", "", htmlText(title)) + "\n" + htmlElement("style", "", pageStyle) +
           "\n</head>\n<body>\n" + body + htmlElement("script", "", pageScript) + "\n</body>\n</html>\n";
}

} // namespace quarrow
