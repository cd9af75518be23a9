// The files that a run leaves behind.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vynhost/base/errors.h"
#include "vynhost/results/result_list.h"
#include "vynhost/results/temporary_file.h"

namespace vynhost {

// A file that is written piece by piece under a temporary name.
class ResultFile {
public:
    // Raises RunError when it can't be opened.
    explicit ResultFile(const std::filesystem::path& path);
    ResultFile(const ResultFile&) = delete;
    ResultFile& operator=(const ResultFile&) = delete;

    // Raises RunError when the disk does not take it.
    void write(std::string_view text);
    // The content of another file.
    void writeAllOf(const std::filesystem::path& other);
    // Nothing is written from now on. Raises RunError when not everything has arrived.
    void close();
    // Gives the file its final name, in which it replaces an older one if that is allowed. Raises
    // RunError, and then all is as it was.
    void commit(bool replace);
    const std::filesystem::path& path() const noexcept { return final_; }
    const std::filesystem::path& temporary() const noexcept { return file_.path(); }
    const Checksum& checksum() const noexcept { return checksum_; }

private:
    void flush();

    std::filesystem::path final_;
    TemporaryFile file_;
    std::string buffer_;
    Checksum checksum_;
};

// A file that the run reads; no result may take its place.
struct ReadFile {
    std::filesystem::path path;
    std::string what;  // "the recording of speech"
};

// Files that appear together, once all of them are written, or not at all.
class ResultFiles {
public:
    // A file that no run has written into the folder stays, unless `force` is set.
    explicit ResultFiles(std::filesystem::path folder, std::vector<ReadFile> inputs = {},
                         bool force = false);
    ~ResultFiles();
    ResultFiles(const ResultFiles&) = delete;
    ResultFiles& operator=(const ResultFiles&) = delete;

    // Says that a file of this name is going to be opened; touches nothing. Raises InputError for
    // a name that leaves the folder, that is taken by another result or by a file which is read,
    // and for what lies there and must not be replaced.
    void claim(const std::string& name, const Place& place = {});
    // A file to write to, claimed now if that has not been done; missing folders are made.
    ResultFile& open(const std::string& name);
    void add(const std::string& name, const std::string& content) { open(name).write(content); }
    // The files' final paths. Raises RunError when one cannot be written, and then none is.
    std::vector<std::filesystem::path> commit();

private:
    // What lay under a result's name when it was claimed.
    struct Before {
        std::filesystem::file_time_type time;
        std::uintmax_t size;
        bool operator==(const Before&) const = default;
    };
    struct Claim {
        std::string name;
        std::filesystem::path shown;  // as the user wrote it
        std::filesystem::path path;   // without links
        std::optional<Before> before;
    };

    static std::optional<Before> stateOf(const std::filesystem::path& path);
    Claim insideFolder(const std::string& name, const Place& place) const;
    void refuseReadFiles(const Claim& claim, const Place& place) const;
    void refuseForeignFile(const Claim& claim, const Place& place);
    const ResultList& listOf(const std::filesystem::path& folder);
    void addLists();
    void move();

    std::filesystem::path folder_;
    std::vector<ReadFile> inputs_;
    bool force_;
    std::vector<Claim> claims_;
    std::map<std::filesystem::path, ResultList> lists_;  // of folders that hold results
    std::vector<std::filesystem::path> madeFolders_;     // outermost first
    std::vector<std::unique_ptr<ResultFile>> files_;
};

// Replaces a file's content as a whole; its permissions stay. Raises RunError, and then the file is
// as it was.
void replaceFile(const std::filesystem::path& file, const std::string& content);

}  // namespace vynhost
