#pragma once

#include <map>
#include <string>
#include <vector>

// The rows of a tab-separated file, by the names in its first line. A line that begins with # is comment.
using Row = std::map<std::string, std::string>;

std::vector<Row> readTable(const std::string& path);                             // no rows when there is no such file
std::vector<Row> rowsOf(const std::vector<Row>& table, const std::string& file); // where the column "file" says so
