// A temporary folder of this process and this object alone: tests that run side by side on one
// machine do not meet in it.
#pragma once

#include <filesystem>
#include <random>
#include <string>
#include <system_error>

namespace support {

class OwnFolder {
public:
    // Makes the folder; its name begins so.
    explicit OwnFolder(const std::string& name) {
        std::random_device random;
        do {
            path_ =
                std::filesystem::temp_directory_path() / (name + "-" + std::to_string(random()));
        } while (!std::filesystem::create_directory(path_));
    }
    // Takes it away with all that it holds.
    ~OwnFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    OwnFolder(const OwnFolder&) = delete;
    OwnFolder& operator=(const OwnFolder&) = delete;

    const std::filesystem::path& path() const noexcept { return path_; }

private:
    std::filesystem::path path_;
};

}  // namespace support
