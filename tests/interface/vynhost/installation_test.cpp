// vynhost beside its module and library, wherever that is and whatever the machine's setting says.
#include <chrono>
#include <filesystem>

#include "interface/vynhost/diagram_fixture.h"
#include "support/platform/test_system.h"
#include "vynhost/base/text.h"

namespace vynhost::test {
namespace {

using ::testing::HasSubstr;

class InstallationTest : public DiagramTest {
protected:
    struct Outcome {
        int code;
        std::string out;
        std::string error;
    };

    // The three files in a folder of that name.
    std::filesystem::path copied(const std::string& name) const {
        const std::filesystem::path from = platform::programFolder();
        const std::filesystem::path to = folder() / pathOf(name);
        std::filesystem::create_directories(to / "Analysis");
        for (const std::string file : {platform::kHostProgram, platform::kModuleFile})
            std::filesystem::copy_file(from / file, to / file);
        std::filesystem::copy_file(from / "Analysis" / platform::kLibraryFile,
                                   to / "Analysis" / platform::kLibraryFile);
        return to;
    }

    Outcome vynhost(const std::filesystem::path& program, const std::string& arguments) const {
        const auto quoted = [](const std::filesystem::path& path) {
            return "\"" + textOf(path) + "\"";
        };
        const std::filesystem::path out = folder() / "stdout.txt";
        const std::filesystem::path error = folder() / "stderr.txt";
        const int code =
            platform::runShell(quoted(program / platform::kHostProgram) + " " + arguments + " > " +
                               quoted(out) + " 2> " + quoted(error));
        return {code, read(out), read(error)};
    }

    std::string noiseRun() const {
        write("noise.toml",
              "[source.n]\nnoise = { rms = 1.0, seed = 1 }\nrate = 1000.0\nseconds = 1.0\n"
              "block = 100\n[block.f]\ntype = \"FFT\"\n[wire]\n\"f.E\" = \"n\"\n"
              "[sink.x]\nfrom = \"f.S\"\ncsv = \"x.csv\"\n");
        return "run \"" + textOf(folder() / "noise.toml") + "\" --out \"" +
               textOf(folder() / "out") + "\"";
    }
};

TEST_F(InstallationTest, WorksInAFolderWithBlanksUmlautsAndKanji) {
    for (const char* name : {"Prüfstand äöü ß", "測定"}) {
        const Outcome outcome = vynhost(copied(name), noiseRun());
        EXPECT_EQ(outcome.code, 0) << name << ": " << outcome.error;
        EXPECT_TRUE(std::filesystem::exists(folder() / "out" / "x.csv"));
        std::filesystem::remove_all(folder() / "out");
    }
}

// A helper that the module or the system has started takes over what a process writes to.
TEST_F(InstallationTest, ABatchGoesOnWhenAProcessHasEndedWhoeverKeepsItsOutputOpen) {
    constexpr auto kFarTooLong = std::chrono::seconds(40);  // the helper stays for a minute
    const std::filesystem::path program = copied("helped");
    const std::filesystem::path bin = platform::programFolder();
    std::filesystem::copy_file(
        bin.parent_path() / "fixtures" / "broken_module" / platform::kModuleFile,
        program / platform::kModuleFile, std::filesystem::copy_options::overwrite_existing);
    writeWav("m.wav", sine(1024, 1024, 1));
    write("d.toml",
          "[source.m]\nfile = \"none.wav\"\n[block.f]\ntype = \"FFT\"\n[wire]\n\"f.E\" = \"m\"\n"
          "[sink.x]\nfrom = \"f.S\"\ncsv = \"x.csv\"\n");
    platform::setVariable("VYN_SOUND_MODULE", textOf(bin / platform::kModuleFile));
    platform::setVariable("VYN_FAULT", "leaves its output open");
    const auto start = std::chrono::steady_clock::now();
    const Outcome outcome =
        vynhost(program, "run \"" + textOf(folder() / "d.toml") + "\" --out \"" +
                             textOf(folder() / "o" / "{name}") +
                             "\" --each \"m=" + textOf(folder() / "m.wav") + "\"");
    const auto took = std::chrono::steady_clock::now() - start;
    platform::setVariable("VYN_SOUND_MODULE", "");
    platform::setVariable("VYN_FAULT", "");
    EXPECT_EQ(outcome.code, 0) << outcome.out << outcome.error;
    EXPECT_TRUE(std::filesystem::exists(folder() / "o" / "m" / "x.csv"));
    EXPECT_LT(took, kFarTooLong);
}

TEST_F(InstallationTest, TakesItsOwnLibraryBeforeTheMachinesSetting) {
    const std::filesystem::path program = copied("own");
    const std::optional<std::string> before = platform::sharedDirectory();
    const std::string elsewhere = textOf(folder() / "elsewhere");
    ASSERT_TRUE(platform::setSharedDirectory(elsewhere));
    const Outcome ran = vynhost(program, noiseRun());
    const Outcome examined = vynhost(program, "doctor");
    const std::optional<std::string> after = platform::sharedDirectory();
    platform::setSharedDirectory(before);
    EXPECT_EQ(ran.code, 0) << ran.error;
    EXPECT_EQ(after, elsewhere);
    EXPECT_EQ(examined.code, 0) << examined.out;
    EXPECT_THAT(examined.out, HasSubstr(elsewhere));
    EXPECT_THAT(examined.out, HasSubstr("all is well"));
}

TEST_F(InstallationTest, LeavesTheMachineWithoutASettingAsItWas) {
    const std::filesystem::path program = copied("own");
    const std::optional<std::string> before = platform::sharedDirectory();
    ASSERT_TRUE(platform::setSharedDirectory(std::nullopt));
    const Outcome ran = vynhost(program, noiseRun());
    const std::optional<std::string> after = platform::sharedDirectory();
    platform::setSharedDirectory(before);
    EXPECT_EQ(ran.code, 0) << ran.error;
    EXPECT_EQ(after, std::nullopt);
}

TEST_F(InstallationTest, SaysWhereAMissingLibraryWasLookedFor) {
    const std::filesystem::path program = copied("bare");
    std::filesystem::remove_all(program / "Analysis");
    const std::optional<std::string> before = platform::sharedDirectory();
    ASSERT_TRUE(platform::setSharedDirectory(textOf(folder() / "elsewhere")));
    const Outcome ran = vynhost(program, noiseRun());
    const Outcome examined = vynhost(program, "doctor");
    platform::setSharedDirectory(before);
    EXPECT_EQ(ran.code, 4);
    EXPECT_THAT(ran.error, HasSubstr("the analysis library is missing"));
    EXPECT_THAT(ran.error, HasSubstr("bare"));
    EXPECT_THAT(ran.error, HasSubstr("elsewhere"));
    EXPECT_FALSE(std::filesystem::exists(folder() / "out"));
    EXPECT_EQ(examined.code, 4);
    EXPECT_THAT(examined.out, HasSubstr("not all is well"));
}

// Nothing is computed there; what a block can be set to does not depend on the library.
TEST_F(InstallationTest, NeedsNoLibraryToShowWhatThereIs) {
    const std::filesystem::path program = copied("bare");
    const Outcome whole = vynhost(program, "list --json");
    std::filesystem::remove_all(program / "Analysis");
    const std::optional<std::string> before = platform::sharedDirectory();
    ASSERT_TRUE(platform::setSharedDirectory(textOf(folder() / "elsewhere")));
    const Outcome listed = vynhost(program, "list --json");
    const Outcome skeleton = vynhost(program, "skeleton FFT");
    platform::setSharedDirectory(before);
    EXPECT_EQ(listed.code, 0);
    EXPECT_EQ(listed.out, whole.out);
    EXPECT_EQ(listed.error, "");
    EXPECT_EQ(skeleton.code, 0) << skeleton.error;
}

TEST_F(InstallationTest, SaysThatALibraryDoesNotLoad) {
    const std::filesystem::path program = copied("broken");
    write(textOf(program / "Analysis" / platform::kLibraryFile), "no library");
    const Outcome ran = vynhost(program, noiseRun());
    EXPECT_EQ(ran.code, 4);
    EXPECT_THAT(ran.error, HasSubstr("the analysis library "));
    EXPECT_THAT(ran.error, HasSubstr("is not loaded: "));
    EXPECT_FALSE(std::filesystem::exists(folder() / "out"));
}

// The keys that any program may look at, with all that is in them.
TEST_F(InstallationTest, LeavesTheRegistryAsItWas) {
    if (!platform::kHasDialogs) GTEST_SKIP() << "there is none";
    const auto exported = [&](const std::string& key) {
        const std::filesystem::path file = folder() / "keys.reg";
        EXPECT_EQ(platform::runShell("reg export " + key + " \"" + textOf(file) + "\" /y > NUL"), 0)
            << key;
        return read(file);
    };
    const std::filesystem::path program = copied("own");
    const std::optional<std::string> before = platform::sharedDirectory();
    ASSERT_TRUE(platform::setSharedDirectory(std::nullopt));
    const std::string machine = exported("HKLM\\SOFTWARE\\Orvane");
    const std::string user = exported("HKCU\\Software");
    EXPECT_EQ(vynhost(program, noiseRun()).code, 0);
    EXPECT_EQ(vynhost(program, "list").code, 0);
    EXPECT_EQ(exported("HKLM\\SOFTWARE\\Orvane"), machine);
    EXPECT_EQ(exported("HKCU\\Software"), user);
    platform::setSharedDirectory(before);
    EXPECT_THAT(machine, ::testing::Not(::testing::IsEmpty()));
}

TEST_F(InstallationTest, ReadsOtherSoundFilesByALibraryBesideIt) {
    if (!platform::kHasDialogs) GTEST_SKIP() << "the library is linked";
    write("s.flac",
          "sound2"
          "01234567");
    write("bad.flac",
          "noise2"
          "01234567");
    write("s.toml",
          "[source.s]\nfile = \"s.flac\"\nstart = 0.25\n[sink.x]\nfrom = \"s\"\ncsv = \"x.csv\"\n");
    const std::filesystem::path program = copied("sound");
    const std::string run =
        "run \"" + textOf(folder() / "s.toml") + "\" --out \"" + textOf(folder() / "out") + "\"";
    const Outcome without = vynhost(program, run);
    EXPECT_EQ(without.code, 2);
    EXPECT_THAT(without.error,
                HasSubstr("s.flac: is read by libsndfile (FLAC, OGG, AIFF, CAF, W64), which is not "
                          "there: sndfile.dll belongs beside vynhost.exe"));

    std::filesystem::copy_file(
        platform::programFolder().parent_path() / "fixtures/audio_library/sndfile.dll",
        program / "sndfile.dll");
    const Outcome with = vynhost(program, run);
    EXPECT_EQ(with.code, 0) << with.error;
    EXPECT_EQ(read(folder() / "out/x.csv"),
              "t [s],s 1,s 2\n0.25,0.5,0.75\n0.5,1,1.25\n0.75,1.5,1.75\n");
    const Outcome bad =
        vynhost(program, run + " --input \"s=" + textOf(folder() / "bad.flac") + "\"");
    EXPECT_THAT(bad.error, HasSubstr("bad.flac: is no recording that can be read here"));

    write("sound/sndfile.dll", "no library");
    const Outcome broken = vynhost(program, run);
    EXPECT_EQ(broken.code, 2);
    EXPECT_THAT(broken.error, HasSubstr("sndfile.dll beside the program does not load: error"));
}

TEST_F(InstallationTest, SaysThatTheModuleIsMissing) {
    const std::filesystem::path program = copied("nothing");
    std::filesystem::remove(program / platform::kModuleFile);
    EXPECT_EQ(vynhost(program, noiseRun()).code, 4);
    const Outcome examined = vynhost(program, "doctor");
    EXPECT_EQ(examined.code, 4);
    EXPECT_THAT(examined.out, HasSubstr("does not load"));
}

}  // namespace
}  // namespace vynhost::test
