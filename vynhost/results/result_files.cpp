#include "vynhost/results/result_files.h"

#include <algorithm>
#include <fstream>
#include <system_error>
#include <utility>

#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/results/platform/file_system.h"

namespace vynhost {
namespace {

constexpr std::size_t kBuffer = std::size_t{1} << 16;

// A file that keeps its content under a second name while another takes its first one.
class Keepsake {
public:
    explicit Keepsake(std::filesystem::path file)
        : file_(std::move(file)), second_(unguessable(file_.parent_path())) {
        std::error_code error;
        std::filesystem::create_hard_link(file_, second_, error);
        // A file system without second names: for a moment the first one is free.
        if (error) error = platform::renameFile(file_, second_, false);
        if (error) throw RunError(kWrongInput, textOf(file_) + ": " + error.message());
    }
    ~Keepsake() {
        std::error_code ignored;
        if (!second_.empty()) std::filesystem::remove(second_, ignored);
    }
    Keepsake(const Keepsake&) = delete;
    Keepsake& operator=(const Keepsake&) = delete;

    // What can't be put back stays under its second name.
    void putBack() noexcept {
        // Where the first name still is one of this file nothing moves, and the second can go.
        if (platform::renameFile(second_, file_, true)) second_.clear();
    }

private:
    std::filesystem::path file_;
    std::filesystem::path second_;
};

}  // namespace

// --- One file -------------------------------------------------------------------------------

ResultFile::ResultFile(const std::filesystem::path& path)
    : final_(path), file_(path.parent_path(), path) {}

void ResultFile::write(std::string_view text) {
    buffer_ += text;
    if (buffer_.size() >= kBuffer) flush();
}

void ResultFile::writeAllOf(const std::filesystem::path& other) {
    std::ifstream in(other, std::ios::binary);
    std::string piece(std::size_t{1} << 18, '\0');
    while (in) {
        in.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        write(std::string_view(piece).substr(0, static_cast<std::size_t>(in.gcount())));
    }
}

void ResultFile::flush() {
    checksum_.add(buffer_);
    if (!file_.write(buffer_.data(), buffer_.size())) failWriting(final_);
    buffer_.clear();
}

void ResultFile::close() {
    if (!buffer_.empty()) flush();
    if (!file_.close()) failWriting(final_);
}

void ResultFile::commit(bool replace) {
    close();
    const std::error_code error = platform::renameFile(file_.path(), final_, replace);
    if (error) throw RunError(kWrongInput, textOf(final_) + ": " + error.message());
    file_.released();
}

// --- Which files a run may write ------------------------------------------------------------

ResultFiles::ResultFiles(std::filesystem::path folder, std::vector<ReadFile> inputs, bool force)
    : folder_(folder.empty() ? "." : std::move(folder)),
      inputs_(std::move(inputs)),
      force_(force) {}

ResultFiles::~ResultFiles() {
    files_.clear();
    std::error_code ignored;  // a folder that is in use stays
    std::for_each(madeFolders_.rbegin(), madeFolders_.rend(),
                  [&](const auto& folder) { std::filesystem::remove(folder, ignored); });
}

void ResultFiles::claim(const std::string& name, const Place& place) try {
    const Claim claim = insideFolder(name, place);
    for (const Claim& other : claims_) {
        if (platform::sameFileName(other.path, claim.path)) {
            throw InputError(place, tr("%1 is written twice", textOf(claim.shown)));
        }
    }
    refuseReadFiles(claim, place);
    if (std::filesystem::exists(std::filesystem::symlink_status(claim.path))) {
        if (!platform::isPlainFile(claim.path)) {
            throw InputError(place,
                             tr("%1 is no file that a result could replace", textOf(claim.shown)));
        }
        const auto identity = platform::identityOf(claim.path);
        for (const Claim& other : claims_) {
            if (!identity || platform::identityOf(other.path) != identity) continue;
            throw InputError(
                place, tr("%1 and %2 are one file", textOf(claim.shown), textOf(other.shown)));
        }
        refuseForeignFile(claim, place);
    }
    claims_.push_back(claim);
} catch (const std::filesystem::filesystem_error& error) {  // a name that is too long, say
    throw InputError(place, "\"" + name + "\": " + error.code().message());
}

// Where a result of this name goes, and what is there now.
ResultFiles::Claim ResultFiles::insideFolder(const std::string& name, const Place& place) const {
    const std::filesystem::path given = pathOf(name);
    const std::filesystem::path normal = given.lexically_normal();
    const std::string leaves = tr("\"%1\" leaves the result folder, %2", name, textOf(folder_));
    if (given.has_root_path() || (!normal.empty() && *normal.begin() == "..")) {
        throw InputError(place, leaves);
    }
    const bool plain = std::ranges::all_of(
        normal, [](const std::filesystem::path& part) { return platform::isFileName(part); });
    const std::filesystem::path file = normal.filename();
    if (!plain || file.empty() || file == "." ||
        platform::sameFileName(file, ResultList::kFileName)) {
        throw InputError(place, tr("\"%1\" can't be a result's name", onOneLine(name.c_str())));
    }
    const std::filesystem::path root = platform::realPath(folder_);
    const std::filesystem::path folder =
        normal.has_parent_path() ? platform::realPath(root / normal.parent_path()) : root;
    const auto rest = std::ranges::mismatch(root, folder).in1;
    if (rest != root.end() && !rest->empty()) {
        throw InputError(place, tr("%1, through a link", leaves));
    }
    Claim claim{name, folder_ / normal, folder / file, {}};
    claim.before = stateOf(claim.path);
    return claim;
}

void ResultFiles::refuseReadFiles(const Claim& claim, const Place& place) const {
    const auto identity = platform::identityOf(claim.path);
    for (const ReadFile& input : inputs_) {
        if (!identity || platform::identityOf(input.path) != identity) continue;
        throw InputError(place,
                         tr("%1 is %2, which stays as it is", textOf(claim.shown), input.what));
    }
}

void ResultFiles::refuseForeignFile(const Claim& claim, const Place& place) {
    if (force_ || listOf(claim.path.parent_path()).holds(claim.path)) return;
    throw InputError(place,
                     tr("%1 is there already, and not as a run has written it; --force replaces it",
                        textOf(claim.shown)));
}

const ResultList& ResultFiles::listOf(const std::filesystem::path& folder) {
    const auto found = lists_.find(folder);
    return found != lists_.end() ? found->second
                                 : lists_.emplace(folder, ResultList(folder)).first->second;
}

std::optional<ResultFiles::Before> ResultFiles::stateOf(const std::filesystem::path& path) {
    std::error_code error;
    const Before before{std::filesystem::last_write_time(path, error),
                        std::filesystem::file_size(path, error)};
    if (error) return std::nullopt;
    return before;
}

// --- Writing them ---------------------------------------------------------------------------

ResultFile& ResultFiles::open(const std::string& name) {
    const auto claimed = [&](const Claim& claim) { return claim.name == name; };
    if (std::ranges::none_of(claims_, claimed)) claim(name);
    const std::filesystem::path path = std::ranges::find_if(claims_, claimed)->path;
    if (std::ranges::any_of(
            files_, [&](const auto& file) { return file->path().native() == path.native(); })) {
        throw RunError(kWrongInput, tr("%1: is written twice", textOf(path)));
    }
    std::vector<std::filesystem::path> missing;
    std::error_code error;
    for (auto folder = path.parent_path();
         !folder.empty() && !std::filesystem::exists(folder, error);
         folder = folder.parent_path()) {
        missing.push_back(folder);
    }
    std::for_each(missing.rbegin(), missing.rend(), [&](const auto& folder) {
        if (std::filesystem::create_directory(folder, error)) madeFolders_.push_back(folder);
    });
    files_.push_back(std::make_unique<ResultFile>(path));
    return *files_.back();
}

std::vector<std::filesystem::path> ResultFiles::commit() {
    for (const auto& file : files_)
        file->close();
    std::vector<std::filesystem::path> paths;
    for (const auto& file : files_)
        paths.push_back(std::ranges::find(claims_, file->path(), &Claim::path)->shown);
    addLists();
    move();
    files_.clear();
    claims_.clear();
    madeFolders_.clear();
    return paths;
}

// The lists of results become files like the others. What other runs have entered meanwhile stays.
void ResultFiles::addLists() {
    std::map<std::filesystem::path, ResultList> lists;
    for (const auto& file : files_) {
        const auto folder = file->path().parent_path();
        const auto list = lists.try_emplace(folder, folder).first;
        list->second.enter(file->path().filename(), file->checksum());
    }
    for (const auto& [folder, list] : lists) {
        const std::filesystem::path path = folder / ResultList::kFileName;
        claims_.push_back({"", path, path, stateOf(path)});
        files_.push_back(std::make_unique<ResultFile>(path));
        files_.back()->write(list.text());
        files_.back()->close();
    }
}

void ResultFiles::move() {
    std::vector<std::unique_ptr<Keepsake>> replaced;  // one for each file that was there
    std::vector<std::filesystem::path> added;
    try {
        for (const auto& file : files_) {
            const auto before = std::ranges::find(claims_, file->path(), &Claim::path)->before;
            const auto now = stateOf(file->path());
            if (now && now != before) {
                throw RunError(kWrongInput, tr("%1: has been changed meanwhile; nothing is written",
                                               textOf(file->path())));
            }
            if (now) replaced.push_back(std::make_unique<Keepsake>(file->path()));
            file->commit(now.has_value());
            if (!now) added.push_back(file->path());
        }
    } catch (...) {
        std::error_code ignored;
        for (const auto& path : added)
            std::filesystem::remove(path, ignored);
        for (const auto& file : replaced)
            file->putBack();
        throw;
    }
}

void replaceFile(const std::filesystem::path& file, const std::string& content) {
    ResultFile replacement(file);
    replacement.write(content);
    replacement.close();
    std::error_code ignored;
    std::filesystem::permissions(replacement.temporary(),
                                 std::filesystem::status(file).permissions(), ignored);
    replacement.commit(true);
}

}  // namespace vynhost
