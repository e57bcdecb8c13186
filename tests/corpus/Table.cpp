#include <tests/corpus/Table.h>

#include <fstream>
#include <sstream>

std::vector<std::string> splitAt(const std::string& text, char separator) {
    std::vector<std::string> pieces(1);
    for (const char c : text) {
        if (c == separator) {
            pieces.emplace_back();
        } else {
            pieces.back() += c;
        }
    }
    return pieces;
}

Table::Table(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::vector<std::string> names;
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (line.empty() || line.front() == '#') {
            continue;
        }
        const std::vector<std::string> cells = splitAt(line, '\t');
        if (names.empty()) {
            names = cells;
            continue;
        }
        Row row;
        for (std::size_t i = 0; i < names.size(); ++i) {
            row[names[i]] = i < cells.size() ? cells[i] : std::string();
        }
        m_rows.push_back(std::move(row));
    }
}

std::vector<Table::Row> Table::rowsOf(const std::string& file) const {
    std::vector<Row> found;
    for (const Row& row : m_rows) {
        if (row.at("file") == file) {
            found.push_back(row);
        }
    }
    return found;
}
