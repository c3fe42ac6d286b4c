// The tables of a page in docs/, for tests that compare one with the rows that it documents.
#pragma once

#include <fstream>
#include <string>
#include <vector>

/// The cells of each line of the page's tables, without blanks around them; headings are lines too.
inline std::vector<std::vector<std::string>> readDocTables(const std::string &page)
{
    std::vector<std::vector<std::string>> rows;
    std::ifstream is(ZEL_TESTS_DIR "/../docs/" + page);
    for (std::string line; std::getline(is, line);) {
        if (line.empty() || line[0] != '|') {
            continue;
        }
        std::vector<std::string> cells;
        for (std::string::size_type at = 1, end; (end = line.find('|', at)) != line.npos;
             at = end + 1) {
            const std::string cell = line.substr(at, end - at);
            const std::string::size_type first = cell.find_first_not_of(' ');
            const std::string::size_type last = cell.find_last_not_of(' ');
            cells.push_back(first == cell.npos ? "" : cell.substr(first, last - first + 1));
        }
        rows.push_back(cells);
    }
    return rows;
}
