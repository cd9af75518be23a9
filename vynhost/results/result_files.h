// The files that a run leaves behind.
#pragma once

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vynhost {

// A file that is written piece by piece under a temporary name.
class ResultFile {
public:
    // Raises RunError when it can't be opened.
    explicit ResultFile(const std::filesystem::path& path);
    // Without a commit it goes again.
    ~ResultFile();
    ResultFile(const ResultFile&) = delete;
    ResultFile& operator=(const ResultFile&) = delete;

    // Raises RunError when the disk does not take it.
    void write(std::string_view text);
    // Nothing is written from now on. Raises RunError when not everything has arrived.
    void close();
    // Gives the file its final name. Raises RunError.
    void commit();
    const std::filesystem::path& path() const noexcept { return final_; }
    const std::filesystem::path& temporary() const noexcept { return temporary_; }

private:
    void flush();

    std::filesystem::path final_;
    std::filesystem::path temporary_;
    std::string buffer_;
    std::ofstream out_;
    bool committed_ = false;
};

// Files that appear together, once all of them are written, or not at all.
class ResultFiles {
public:
    explicit ResultFiles(std::filesystem::path folder) : folder_(std::move(folder)) {}
    ~ResultFiles();
    ResultFiles(const ResultFiles&) = delete;
    ResultFiles& operator=(const ResultFiles&) = delete;

    // A file to write to; missing folders are made.
    ResultFile& open(const std::string& name);
    void add(const std::string& name, const std::string& content) { open(name).write(content); }
    // The files' final paths. Raises RunError when one cannot be written.
    std::vector<std::filesystem::path> commit();

private:
    std::filesystem::path folder_;
    std::vector<std::filesystem::path> madeFolders_;  // outermost first
    std::vector<std::unique_ptr<ResultFile>> files_;
};

// Replaces a file's content as a whole; its permissions stay. Raises RunError, and then the file is
// as it was.
void replaceFile(const std::filesystem::path& file, const std::string& content);

}  // namespace vynhost
