#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

// A tab-separated file whose first line names the columns. A line that begins with # is comment.
class Table {
  public:
    using Row = std::map<std::string, std::string>;

    // No rows when there is no such file.
    explicit Table(const std::string& path);

    const std::vector<Row>& rows() const { return m_rows; }
    std::vector<Row> rowsOf(const std::string& file) const; // where the column "file" says so

  private:
    std::vector<Row> m_rows;
};

std::vector<std::string> splitAt(const std::string& text, char separator);
