// Tests of vynhost: diagrams written into a folder of their own, run inside the test's host.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "interface/host_fixture.h"
#include "support/own_folder.h"
#include "support/signals.h"
#include "vynhost/base/errors.h"
#include "vynhost/diagram/diagram.h"
#include "vynhost/run/runner.h"

namespace vynhost::test {

class DiagramTest : public HostTest {
protected:
    DiagramTest();

    std::filesystem::path folder() const { return folder_.path(); }
    std::filesystem::path write(const std::string& name, const std::string& content) const;
    // A 16-bit WAV file of these samples, full scale = 1.
    std::filesystem::path writeWav(const std::string& name, const std::vector<float>& interleaved,
                                   int channels = 1, int rate = 8000) const;
    static std::string read(const std::filesystem::path& file);

    // What the file says that the runner or the reader raises; "" when nothing is raised. The
    // diagram's own folder is cut away.
    std::string errorOf(const std::string& toml);
    std::string errorOf(const std::string& toml, int& code);

    // At half of full scale.
    static std::vector<float> sine(int samples, int periods, double amplitude = 0.5) {
        return signals::sine(samples, periods, amplitude);
    }

    const std::map<std::string, std::filesystem::path> noInputs;

private:
    support::OwnFolder folder_{"vynhost-test"};
};

}  // namespace vynhost::test
