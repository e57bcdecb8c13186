#include <tests/corpus/Table.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>

std::vector<Row> readTable(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::vector<Row> rows;
    std::vector<std::string> names;
    for (std::string line; std::getline(in, line);) {
        line.erase(std::min(line.find('\r'), line.size()));
        std::istringstream cells(line);
        if (line.empty() || line.front() == '#') {
            continue;
        }
        if (names.empty()) {
            for (std::string name; std::getline(cells, name, '\t');) {
                names.push_back(name);
            }
            continue;
        }
        Row& row = rows.emplace_back();
        for (const std::string& name : names) {
            std::getline(cells, row[name], '\t'); // a cell that is missing is empty
        }
    }
    return rows;
}

std::vector<Row> rowsOf(const std::vector<Row>& table, const std::string& file) {
    std::vector<Row> found;
    std::copy_if(table.begin(), table.end(), std::back_inserter(found),
                 [&file](const Row& row) { return row.at("file") == file; });
    return found;
}
