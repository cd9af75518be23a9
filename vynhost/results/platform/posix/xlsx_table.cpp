// Workbooks, by libxlsxwriter, which is loaded when one is asked for.
#include <xlsxwriter.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/interface/platform/system.h"
#include "vynhost/results/gathered_table.h"
#include "vynhost/results/temporary_file.h"

namespace vynhost {
namespace {

constexpr const char* kLibrary = "libxlsxwriter.so.4";
constexpr std::uint64_t kMostRows = 1048575;  // of a sheet, below its head
constexpr std::size_t kMostColumns = 16384;
constexpr std::size_t kChartCurves = 12;      // of the chart
constexpr std::uint64_t kMostPoints = 32000;  // of a curve, in programs that show it

class Library {
public:
    explicit Library(const Place& place) {
        std::string why;
        void* library = platform::loadLibrary(kLibrary, why);
        if (library == nullptr) {
            throw InputError(place,
                             tr("xlsx needs %1 (Debian: libxlsxwriter4), which does not load: %2",
                                kLibrary, why));
        }
        find(library, place, "workbook_new_opt", newWorkbook);
        find(library, place, "workbook_add_worksheet", addSheet);
        find(library, place, "workbook_add_format", addFormat);
        find(library, place, "workbook_add_chart", addChart);
        find(library, place, "workbook_set_properties", setProperties);
        find(library, place, "workbook_close", close);
        find(library, place, "format_set_num_format", setNumberFormat);
        find(library, place, "format_set_bold", setBold);
        find(library, place, "format_set_text_wrap", setWrap);
        find(library, place, "worksheet_write_number", writeNumber);
        find(library, place, "worksheet_write_string", writeString);
        find(library, place, "worksheet_freeze_panes", freeze);
        find(library, place, "worksheet_set_column", setColumn);
        find(library, place, "worksheet_insert_chart_opt", insertChart);
        find(library, place, "chart_add_series", addSeries);
        find(library, place, "chart_series_set_name_range", setName);
        find(library, place, "chart_title_set_name", setTitle);
        find(library, place, "chart_axis_set_name", setAxisName);
        find(library, place, "chart_axis_set_log_base", setLogBase);
        find(library, place, "lxw_strerror", errorText);
    }

    decltype(&::workbook_new_opt) newWorkbook = nullptr;
    decltype(&::workbook_add_worksheet) addSheet = nullptr;
    decltype(&::workbook_add_format) addFormat = nullptr;
    decltype(&::workbook_add_chart) addChart = nullptr;
    decltype(&::workbook_set_properties) setProperties = nullptr;
    decltype(&::workbook_close) close = nullptr;
    decltype(&::format_set_num_format) setNumberFormat = nullptr;
    decltype(&::format_set_bold) setBold = nullptr;
    decltype(&::format_set_text_wrap) setWrap = nullptr;
    decltype(&::worksheet_write_number) writeNumber = nullptr;
    decltype(&::worksheet_write_string) writeString = nullptr;
    decltype(&::worksheet_freeze_panes) freeze = nullptr;
    decltype(&::worksheet_set_column) setColumn = nullptr;
    decltype(&::worksheet_insert_chart_opt) insertChart = nullptr;
    decltype(&::chart_add_series) addSeries = nullptr;
    decltype(&::chart_series_set_name_range) setName = nullptr;
    decltype(&::chart_title_set_name) setTitle = nullptr;
    decltype(&::chart_axis_set_name) setAxisName = nullptr;
    decltype(&::chart_axis_set_log_base) setLogBase = nullptr;
    decltype(&::lxw_strerror) errorText = nullptr;

private:
    template <class Function>
    static void find(void* library, const Place& place, const char* name, Function& function) {
        function = reinterpret_cast<Function>(platform::findFunction(library, name));
        if (function == nullptr) {
            throw InputError(place, tr("%1 has no function %2", kLibrary, name));
        }
    }
};

// Control characters are none of a workbook's, and a cell has at most so many letters.
std::string cellText(const std::string& text) {
    constexpr std::size_t kMostLetters = 255;
    return shortened(printable(text), kMostLetters);
}

class XlsxTable : public GatheredTable {
public:
    XlsxTable(ResultFile& file, const TableSubject& subject)
        : GatheredTable(file), subject_(subject), library_(subject.place) {}

    void endHead() override {
        if (names().size() <= kMostColumns) return;
        throw InputError(subject_.place,
                         tr("a sheet has at most 16384 columns, not %1", names().size()));
    }
    void endRow() override {
        if (rows() == kMostRows) {
            throw InputError(subject_.place,
                             tr("a sheet has at most 1048576 rows; a csv or npy takes more"));
        }
        GatheredTable::endRow();
    }
    void note(const std::string& text) override { notes_.push_back(text); }

protected:
    // The library writes to a name; it gets one that nobody knows, and the result is what lies
    // there.
    void writeWhole() override {
        TemporaryFile made(file().path().parent_path(), file().path());
        const std::string path = textOf(made.path());
        lxw_workbook_options options{};
        options.constant_memory = LXW_TRUE;
        options.use_zip64 = LXW_FALSE;
        lxw_workbook* book = library_.newWorkbook(path.c_str(), &options);
        if (book == nullptr) throw RunError(kWrongInput, tr("memory is out"));
        fill(book);
        const lxw_error error = library_.close(book);
        if (error != LXW_NO_ERROR) {
            throw RunError(kWrongInput, tr("%1: can't be written (%2)", textOf(file().path()),
                                           library_.errorText(error)));
        }
        file().writeAllOf(made.path());
    }

private:
    void fill(lxw_workbook* book) {
        lxw_doc_properties properties{};
        std::string title = cellText(subject_.title);
        properties.title = title.data();
        constexpr std::time_t kFirstDay = 315532800;  // 1980: no time gets into a result
        properties.created = kFirstDay;
        library_.setProperties(book, &properties);
        lxw_format* bold = library_.addFormat(book);
        library_.setBold(bold);
        library_.setWrap(bold);
        std::vector<lxw_format*> formats;
        for (std::size_t i = 0; i < names().size(); ++i) {
            formats.push_back(library_.addFormat(book));
            library_.setNumberFormat(formats.back(), formatOf(i));
        }
        lxw_worksheet* sheet = library_.addSheet(book, "Table");
        library_.setColumn(sheet, 0, static_cast<lxw_col_t>(names().size() - 1), 14, nullptr);
        library_.freeze(sheet, 1, 1);
        for (std::size_t i = 0; i < names().size(); ++i) {
            library_.writeString(sheet, 0, static_cast<lxw_col_t>(i), cellText(names()[i]).c_str(),
                                 bold);
        }
        lxw_row_t row = 1;
        forEachPiece([&](std::string_view piece) {
            for (std::size_t at = 0; at < piece.size(); at += rowBytes(), ++row)
                writeRow(sheet, row, piece.substr(at, rowBytes()), formats);
        });
        lxw_worksheet* chartSheet = library_.addSheet(book, "Chart");
        addChart(book, chartSheet);
        for (std::size_t i = 0; i < notes_.size(); ++i) {
            constexpr lxw_row_t kBelowChart = 32;
            library_.writeString(chartSheet, kBelowChart + static_cast<lxw_row_t>(i), 0,
                                 cellText(notes_[i]).c_str(), nullptr);
        }
    }

    // Levels have two decimals, x what it needs, other values five digits and their power of ten.
    const char* formatOf(std::size_t column) const {
        if (column < doubles()) return "0.######";
        return names()[column].find("[dB") != std::string::npos ? "0.00" : "0.0000E+00";
    }

    // What is no number has no cell.
    void writeRow(lxw_worksheet* sheet, lxw_row_t row, std::string_view cells,
                  const std::vector<lxw_format*>& formats) {
        for (std::size_t i = 0; i < names().size(); ++i) {
            double number = 0;
            if (i < doubles()) {
                std::memcpy(&number, cells.data() + cellPlace(i), sizeof number);
            } else {
                float single = 0;
                std::memcpy(&single, cells.data() + cellPlace(i), sizeof single);
                if (!std::isfinite(single)) continue;
                number = *toNumber(toText(single));  // as a table shows it
            }
            if (std::isfinite(number)) {
                library_.writeNumber(sheet, row, static_cast<lxw_col_t>(i), number, formats[i]);
            }
        }
    }

    void addChart(lxw_workbook* book, lxw_worksheet* sheet) {
        const auto type = subject_.isBars ? LXW_CHART_COLUMN : LXW_CHART_SCATTER_STRAIGHT;
        lxw_chart* chart = library_.addChart(book, static_cast<std::uint8_t>(type));
        const std::uint64_t last = std::min(rows(), kMostPoints);
        for (std::size_t i = doubles(); i < std::min(names().size(), doubles() + kChartCurves);
             ++i) {
            const std::string x = range(0, last);
            const std::string y = range(i, last);
            lxw_chart_series* series = library_.addSeries(chart, x.c_str(), y.c_str());
            library_.setName(series, "Table", 0, static_cast<lxw_col_t>(i));
        }
        library_.setTitle(chart, cellText(subject_.title).c_str());
        library_.setAxisName(chart->x_axis, cellText(names().front()).c_str());
        if (subject_.isLogX && !subject_.isBars) library_.setLogBase(chart->x_axis, 10);
        lxw_chart_options options{};
        options.x_scale = 2;
        options.y_scale = 2;
        library_.insertChart(sheet, 0, 0, chart, &options);
    }

    static std::string columnName(std::size_t column) {
        std::string name;
        for (std::size_t rest = column + 1; rest > 0; rest = (rest - 1) / 26)
            name.insert(name.begin(), static_cast<char>('A' + (rest - 1) % 26));
        return name;
    }
    static std::string range(std::size_t column, std::uint64_t last) {
        const std::string name = columnName(column);
        return "=Table!$" + name + "$2:$" + name + "$" +
               std::to_string(std::max<std::uint64_t>(last, 1) + 1);
    }

    const TableSubject& subject_;
    Library library_;
    std::vector<std::string> notes_;
};

}  // namespace

std::unique_ptr<TableFile> xlsxTable(ResultFile& file, const TableSubject& subject) {
    return std::make_unique<XlsxTable>(file, subject);
}

}  // namespace vynhost
