// Where the tree lies that the tests were built from: files of it that tests read.
#pragma once

namespace vynhost::test {

// Absolute, without a slash at its end. Defined by the build in a source of its own: in the command
// line of every source, no two clones would compile the same thing.
extern const char* const kSourceFolder;

}  // namespace vynhost::test
