// The files that a table may become: text, lines of JSON, arrays of numbers, sound.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "vynhost/base/errors.h"
#include "vynhost/diagram/diagram.h"
#include "vynhost/results/result_files.h"
#include "vynhost/results/table_row.h"

namespace vynhost {

// One of them, made row by row: the head's texts, then for each row its cells.
class TableFile : public CellTarget {
public:
    virtual void endHead() = 0;
    virtual void endRow() = 0;
    // What is to be known of the whole table, where the format has a place for it.
    virtual void note(const std::string&) {}
    // All rows are there. Raises RunError when the disk does not take them.
    virtual void finish() = 0;
};

// Gives the cells to several.
class CellFan : public CellTarget {
public:
    void add(CellTarget& target) { targets_.push_back(&target); }

    void addText(std::string text) override {
        for (CellTarget* target : targets_)
            target->addText(text);
    }
    void addNumber(float number) override {
        for (CellTarget* target : targets_)
            target->addNumber(number);
    }
    void addNumber(double number, int digits) override {
        for (CellTarget* target : targets_)
            target->addNumber(number, digits);
    }
    void addEmpty(std::size_t cells) override {
        for (CellTarget* target : targets_)
            target->addEmpty(cells);
    }

private:
    std::vector<CellTarget*> targets_;
};

// What the table is about, for formats that hold signals.
struct TableSubject {
    Place place;           // in the diagram
    bool isSignal = true;  // samples over time, from which no level was taken
    double step = 0;       // s, between samples
    bool isBars = false;   // over bands or classes
    bool isLogX = false;
    std::string title = {};
};

std::unique_ptr<TableFile> csvTable(ResultFile& file, const TableStyle& style);
// One object a line (https://jsonlines.org), a key per column; what is no number is null.
std::unique_ptr<TableFile> jsonTable(ResultFile& file);
// One structured array: a field per column, x in double precision (numpy's format 1.0 to 3.0).
std::unique_ptr<TableFile> npyTable(ResultFile& file);
// An archive of arrays, one per column, under their names.
std::unique_ptr<TableFile> npzTable(ResultFile& file);
// A MAT-file of version 5: x, values (a column per curve), names, and the rate of signals. Raises
// InputError for more than the format holds. The subject must outlive it.
std::unique_ptr<TableFile> matTable(ResultFile& file, const TableSubject& subject);
// The same arrays in an HDF5 file. Raises InputError where the system has no library for it.
std::unique_ptr<TableFile> hdf5Table(ResultFile& file, const TableSubject& subject);
// Samples as they are, in single precision: WAVE, beyond 4 GB RF64 (EBU Tech 3306). The subject
// must outlive it; it is asked when the head ends.
std::unique_ptr<TableFile> wavTable(ResultFile& file, const TableSubject& subject);

// A workbook: the table with number formats, frozen heads, and a chart of its first columns. Raises
// InputError where the system has no library for it. The subject must outlive it.
std::unique_ptr<TableFile> xlsxTable(ResultFile& file, const TableSubject& subject);

// The beginning of a sound file of single-precision samples. Raises RunError for a rate that is no
// whole number of samples per second.
std::string wavHead(std::uint64_t frames, std::uint32_t channels, std::uint32_t rate);

}  // namespace vynhost
