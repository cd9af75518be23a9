// The pictures of the dialogs that the documentation shows.
#pragma once

#include <string>

namespace dialog_test {

// One BMP file per dialog, named after its class.
void writePictures(const std::string& folder);

}  // namespace dialog_test
