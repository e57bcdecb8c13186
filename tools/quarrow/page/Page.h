#pragma once

#include <string>
#include <string_view>
#include <vector>

// Pages for a browser: one file that needs no other and no network, light or dark as its reader prefers, and made to be
// printed too. Without scripts everything on it is shown; with them it can be searched.

namespace quarrow {

// `text` as it stands between tags and within quotes; on one line.
std::string htmlText(const std::string& text);

// <NAME class="KIND">BODY</NAME>, of a body that is HTML; without a class where `kind` is empty.
std::string htmlElement(const std::string& name, const std::string& kind, const std::string& body);

// A whole page. `body` is HTML: sections with headings of the second level, which the page lists at its top.
std::string htmlPage(const std::string& title, const std::string& body);

// A section with a heading; `id` names it in addresses.
std::string htmlSection(std::string_view id, const std::string& heading, const std::string& content);

// A field that leaves, of the elements that the CSS selector `rows` finds, those that hold every word typed into it.
std::string htmlSearch(std::string_view label, std::string_view rows);

// A table of texts, each row with a cell for each heading. Columns whose heading begins with "#" hold numbers, which
// stand on the right; those that tell nothing, empty or "-" in every row, are left out.
std::string htmlTable(const std::vector<std::string>& headings, const std::vector<std::vector<std::string>>& rows);

} // namespace quarrow
