// Tables whose head says how many rows there are.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vynhost/results/table_file.h"
#include "vynhost/results/temporary_file.h"

namespace vynhost {

template <class Number>
void append(std::string& bytes, Number number) {  // little-endian, which both systems are
    bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

// Rows wait on the disk until it is known how many there are.
class GatheredTable : public TableFile {
public:
    explicit GatheredTable(ResultFile& file)
        : file_(file), waiting_(file.path().parent_path(), file.path()) {}

    void addText(std::string text) override { names_.push_back(std::move(text)); }
    void addNumber(float number) override { append(row_, number); }
    void addNumber(double number, int) override {
        append(row_, number);
        if (rows_ == 0) ++doubles_;
    }
    void addEmpty(std::size_t cells) override {
        for (std::size_t i = 0; i < cells; ++i)
            addNumber(std::numeric_limits<float>::quiet_NaN());
    }
    void endHead() override {}
    void endRow() override {
        bytes_ += row_;
        row_.clear();
        ++rows_;
        if (bytes_.size() >= kPiece) flush();
    }
    void finish() override {
        flush();
        if (rows_ == 0) doubles_ = std::min<std::size_t>(1, names_.size());
        writeWhole();
        file_.close();
    }

protected:
    virtual void writeWhole() = 0;

    ResultFile& file() { return file_; }
    const ResultFile& file() const { return file_; }
    const std::vector<std::string>& names() const { return names_; }
    std::uint64_t rows() const { return rows_; }
    // The first so many columns are in double precision, the others in single.
    std::size_t doubles() const { return doubles_; }
    std::size_t rowBytes() const {
        return doubles_ * sizeof(double) + (names_.size() - doubles_) * sizeof(float);
    }
    std::size_t cellBytes(std::size_t column) const {
        return column < doubles_ ? sizeof(double) : sizeof(float);
    }
    std::size_t cellPlace(std::size_t column) const {
        const std::size_t before = std::min(column, doubles_);
        return before * sizeof(double) + (column - before) * sizeof(float);
    }
    // The rows in order, some at a time.
    void forEachPiece(const std::function<void(std::string_view rows)>& take) {
        const std::size_t some =
            std::max<std::size_t>(1, kPiece / std::max<std::size_t>(1, rowBytes()));
        std::string piece;
        for (std::uint64_t row = 0; row < rows_; row += some) {
            piece.resize(static_cast<std::size_t>(std::min<std::uint64_t>(some, rows_ - row)) *
                         rowBytes());
            waiting_.read(row * rowBytes(), piece.data(), piece.size());
            take(piece);
        }
    }

private:
    static constexpr std::size_t kPiece = std::size_t{1} << 18;

    void flush() {
        if (!bytes_.empty()) waiting_.append(bytes_.data(), bytes_.size());
        bytes_.clear();
    }

    ResultFile& file_;
    WaitingBytes waiting_;
    std::vector<std::string> names_;
    std::string row_;
    std::string bytes_;
    std::uint64_t rows_ = 0;
    std::size_t doubles_ = 0;
};

}  // namespace vynhost
