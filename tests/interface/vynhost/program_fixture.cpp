#include "interface/vynhost/program_fixture.h"

#include <sstream>

namespace vynhost::test {
namespace {

// Without a quote in a cell.
std::vector<std::string> cellsOf(const std::string& line) {
    std::vector<std::string> cells(1);
    bool quoted = false;
    for (const char c : line) {
        if (c == '"') {
            quoted = !quoted;
        } else if (c == ',' && !quoted) {
            cells.emplace_back();
        } else if (c != '\r') {
            cells.back() += c;
        }
    }
    return cells;
}

double numberOf(const std::string& cell) {
    return toNumber(cell).value_or(std::numeric_limits<double>::quiet_NaN());
}

}  // namespace

ProgramTest::Outcome ProgramTest::vynhost(const std::string& arguments) const {
    const auto quoted = [](const std::filesystem::path& path) {
        return "\"" + textOf(path) + "\"";
    };
    const std::filesystem::path out = folder() / "stdout.txt";
    const std::filesystem::path error = folder() / "stderr.txt";
    const std::string command = quoted(platform::programFolder() / platform::kHostProgram) + " " +
                                arguments + " > " + quoted(out) + " 2> " + quoted(error);
    const int code = platform::runShell(command);
    return {code, read(out), read(error)};
}

ProgramTest::Columns ProgramTest::tableOf(const std::string& name) const {
    std::istringstream table(read(folder() / name));
    std::string line;
    std::getline(table, line);
    std::vector<std::string> names = cellsOf(line);
    for (std::string& column : names)
        column = column.substr(0, column.find(" ["));
    Columns columns;
    while (std::getline(table, line)) {
        if (line.starts_with('#')) continue;
        const std::vector<std::string> cells = cellsOf(line);
        for (std::size_t i = 0; i < names.size() && i < cells.size(); ++i)
            columns[names[i]].push_back(numberOf(cells[i]));
    }
    return columns;
}

ProgramTest::Columns ProgramTest::rowsOf(const std::string& name) const {
    std::istringstream table(read(folder() / name));
    std::string line;
    std::getline(table, line);
    Columns rows;
    while (std::getline(table, line)) {
        const std::vector<std::string> cells = cellsOf(line);
        for (std::size_t i = 1; i < cells.size(); ++i)
            rows[cells.front()].push_back(numberOf(cells[i]));
    }
    return rows;
}

}  // namespace vynhost::test
