#pragma once

#include <string>

// The frame of every page that the tool writes: one file that needs no other, light or dark as the reader's system is,
// and fit for paper.

namespace quarrow {

// `title` is plain text; `body` is HTML. An input of class "filter" hides the rows of class "row" that do not hold its
// text.
std::string htmlPage(const std::string& title, const std::string& body);
// Plain text as HTML, on one line.
std::string htmlText(const std::string& text);
// <NAME class="KIND">BODY</NAME>, of a body that is HTML; without a class where `kind` is empty.
std::string htmlElement(const std::string& name, const std::string& kind, const std::string& body);

} // namespace quarrow
