// The host's side for dialog tests: the module loaded as a host loads it, a window that receives
// its messages, and blocks that are configured through parameter records and the real dialogs.
#pragma once

#include <windows.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "dialogs/dialog_driver.h"

namespace dialog_test {

using Bytes = std::vector<unsigned char>;

// The module's own instance, from which its templates come.
HINSTANCE moduleInstance();

// How often the module has asked for help since the last call, with both parameters 0.
int takeHelpRequests();

// One block of the module.
class Block {
public:
    explicit Block(int typeCode);
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    ~Block();

    // Shows the dialog and lets the script act on it as its user. The script must leave it closed.
    void dialog(const std::function<void(Dialog&)>& script) const;

    // The connector string that belongs to the parameters.
    std::string connectors() const;

    // The parameter record, its two leading words included.
    Bytes record() const;

    template <class Value>
    Value stored(std::size_t offset) const {
        const Bytes bytes = record();
        Value value{};
        std::memcpy(&value, &bytes.at(offset + sizeof value - 1) - (sizeof value - 1),
                    sizeof value);
        return value;
    }

    // Writes one field of the record; the block is restored from it.
    template <class Value>
    void store(std::size_t offset, Value value) {
        Bytes bytes = record();
        std::memcpy(&bytes.at(offset + sizeof value - 1) - (sizeof value - 1), &value,
                    sizeof value);
        restore(bytes);
    }

private:
    void restore(const Bytes& bytes);

    int typeCode_;
    std::int64_t handle_ = 0;
};

}  // namespace dialog_test
