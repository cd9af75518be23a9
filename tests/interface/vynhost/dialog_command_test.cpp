// What a dialog changed is written into the diagram's file.
#include "vynhost/command/dialog_command.h"

#include "interface/vynhost/diagram_fixture.h"

namespace vynhost::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class EditedDiagram : public DiagramTest {
protected:
    EditedDiagram() : file(write("d.toml", kText)) {}

    const char* const kText =
        "# mine\r\n[block.fft]\r\ntype = \"FFT\"  # of course\r\nPkPhase = 1\r\n"
        "[source.s]\r\nfile = \"missing.wav\"\r\n";
    std::filesystem::path file;
    std::string errorWith(const std::string& block) {
        try {
            BlockEditor(host, file, block);
        } catch (const InputError& error) {
            std::string text = error.what();
            return text.substr(text.find("d.toml"));
        }
        return "";
    }
};

TEST_F(EditedDiagram, GetsTheChangedParameters) {
    BlockEditor editor(host, file, "fft");
    editor.block().set("PkWndFct", "HAMMING");
    editor.block().set("PkPhase", 0);
    EXPECT_THAT(editor.writeBack(), ElementsAre("fft: PkPhase = 0", "fft: PkWndFct = \"HAMMING\""));
    EXPECT_EQ(read(file),
              "# mine\r\n[block.fft]\r\ntype = \"FFT\"  # of course\r\nPkPhase = 0\r\n"
              "PkWndFct = \"HAMMING\"\r\n[source.s]\r\nfile = \"missing.wav\"\r\n");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder()), {}), 1);
}

TEST_F(EditedDiagram, StaysAsItIsWhenNothingHasChanged) {
    const auto time = std::filesystem::last_write_time(file);
    BlockEditor editor(host, file, "fft");
    editor.block().set("PkPhase", 0);
    editor.block().set("PkPhase", 1);
    EXPECT_THAT(editor.writeBack(), IsEmpty());
    EXPECT_EQ(read(file), kText);
    EXPECT_EQ(std::filesystem::last_write_time(file), time);
}

TEST_F(EditedDiagram, IsNotWrittenOverSomebodyElsesChanges) {
    BlockEditor editor(host, file, "fft");
    editor.block().set("PkPhase", 0);
    write("d.toml", "# another text\n");
    EXPECT_THROW(editor.writeBack(), InputError);
    EXPECT_EQ(read(file), "# another text\n");
}

TEST_F(EditedDiagram, StaysAsItIsWhenItCannotBeWritten) {
    // The file's own name is the longest that fits here.
    std::filesystem::path deep = folder();
    for (std::size_t room = 0; (room = 4095 - 7 - deep.native().size()) > 1;)
        deep /= std::string(std::min<std::size_t>(room - 1, 200), 'd');
    std::error_code refused;
    std::filesystem::create_directories(deep, refused);
    std::filesystem::copy_file(file, deep / "d.toml", refused);
    if (refused) GTEST_SKIP() << "names of this length do not exist here";
    BlockEditor editor(host, deep / "d.toml", "fft");
    editor.block().set("PkPhase", 0);
    EXPECT_THROW(editor.writeBack(), RunError);
    EXPECT_EQ(read(deep / "d.toml"), kText);
}

TEST_F(EditedDiagram, StaysALink) {
    std::error_code refused;
    std::filesystem::create_symlink("d.toml", folder() / "link.toml", refused);
    if (refused) GTEST_SKIP() << "no links here";
    BlockEditor editor(host, folder() / "link.toml", "fft");
    editor.block().set("PkPhase", 0);
    EXPECT_THAT(editor.writeBack(), ElementsAre("fft: PkPhase = 0"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder() / "link.toml"));
    EXPECT_THAT(read(file), HasSubstr("PkPhase = 0"));
}

TEST_F(EditedDiagram, MustHaveTheBlock) {
    EXPECT_EQ(errorWith("fff"), "d.toml: \"fff\" is no block, did you mean fft? (there are: fft)");
    EXPECT_EQ(errorWith("s"), "d.toml: \"s\" is a source, which has no dialog");
    write("d.toml", "[block.fft]\ntype = \"FFT\"\nPkPhasen = 1\n");
    EXPECT_THAT(errorWith("fft"), ::testing::StartsWith("d.toml:3: block.fft.PkPhasen: no such"));
    write("d.toml", "");
    EXPECT_EQ(errorWith("fft"), "d.toml: \"fft\" is no block (there are none)");
    file = folder() / "d.toml.none";
    EXPECT_EQ(errorWith("fft"), "d.toml.none: no such file");
}

}  // namespace
}  // namespace vynhost::test
