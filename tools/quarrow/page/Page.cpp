#include <tools/quarrow/page/Page.h>

#include <tools/quarrow/Text.h>
#include <tools/quarrow/page/page_style.h>

#include <algorithm>

namespace quarrow {
namespace {

// Nothing but what stands in the page itself.
constexpr const char* policy = "default-src 'none'; style-src 'unsafe-inline'; script-src 'unsafe-inline'";

bool isNumeric(const std::string& heading) {
    return !heading.empty() && heading.front() == '#';
}

// Whether any row tells something in that column.
bool isTold(const std::vector<std::vector<std::string>>& rows, std::size_t column) {
    return std::any_of(rows.begin(), rows.end(), [column](const std::vector<std::string>& row) {
        return column < row.size() && !row[column].empty() && row[column] != "-";
    });
}

std::string cell(const char* tag, bool numeric, const std::string& text) {
    return htmlElement(tag, numeric ? "number" : "", htmlText(text));
}

// Links to the sections of the body, by their headings.
std::string contents(const std::string& body) {
    constexpr std::string_view start = "<section id=\"";
    constexpr std::string_view heading = "<h2>";
    std::string links;
    for (std::size_t at = body.find(start); at != std::string::npos; at = body.find(start, at)) {
        at += start.size();
        const std::string id = body.substr(at, body.find('"', at) - at);
        const std::size_t text = body.find(heading, at) + heading.size();
        links += "<a href=\"#" + id + "\">" + body.substr(text, body.find("</h2>", text) - text) + "</a>\n";
    }
    return links.empty() ? links : "<nav>\n" + links + "</nav>\n";
}

} // namespace

std::string htmlText(const std::string& text) {
    return markup(zel::String::fromUtf8(text));
}

std::string htmlElement(const std::string& name, const std::string& kind, const std::string& body) {
    return "<" + name + (kind.empty() ? "" : " class=\"" + kind + "\"") + ">" + body + "</" + name + ">";
}

std::string htmlPage(const std::string& title, const std::string& body) {
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
           "<meta http-equiv=\"Content-Security-Policy\" content=\"" +
           std::string(policy) + "\">\n<title>" + htmlText(title) + "</title>\n<style>" + pageStyle +
           "</style>\n</head>\n<body>\n<h1>" + htmlText(title) + "</h1>\n" + contents(body) + body + "<script>" +
           pageScript + "</script>\n</body>\n</html>\n";
}

std::string htmlSection(std::string_view id, const std::string& heading, const std::string& content) {
    return "<section id=\"" + std::string(id) + "\">\n<h2>" + htmlText(heading) + "</h2>\n" + content + "</section>\n";
}

std::string htmlSearch(std::string_view label, std::string_view rows) {
    return "<label class=\"search\" data-rows=\"" + htmlText(std::string(rows)) +
           "\" hidden><input type=\"search\" placeholder=\"" + htmlText(std::string(label)) + "\" aria-label=\"" +
           htmlText(std::string(label)) + "\"><output></output></label>\n";
}

std::string htmlTable(const std::vector<std::string>& headings, const std::vector<std::vector<std::string>>& rows) {
    std::string head;
    std::vector<std::string> body(rows.size());
    for (std::size_t column = 0; column < headings.size(); ++column) {
        if (!isTold(rows, column)) {
            continue;
        }
        const bool numeric = isNumeric(headings[column]);
        head += cell("th", numeric, numeric ? headings[column].substr(1) : headings[column]);
        for (std::size_t row = 0; row < rows.size(); ++row) {
            body[row] += cell("td", numeric, rows[row][column]);
        }
    }
    const bool headed = std::any_of(headings.begin(), headings.end(), [](const std::string& h) { return !h.empty(); });
    std::string html = "<div class=\"wide\"><table>\n";
    html += headed ? "<thead><tr>" + head + "</tr></thead>\n<tbody>\n" : "<tbody>\n";
    for (const std::string& row : body) {
        html += "<tr>" + row + "</tr>\n";
    }
    return html + "</tbody>\n</table></div>\n";
}

} // namespace quarrow
