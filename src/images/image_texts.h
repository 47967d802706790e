#pragma once

#include <optional>
#include <string>
#include <vector>

#include "images/image_file.h"

namespace orvix::images {

/// A list of texts as two sections: where each ends, and the letters.
void addTexts(ImageWriter& writer, const std::string& name, const std::vector<std::string>& texts);
std::optional<std::vector<std::string>> textsOf(const ImageFile& image, const std::string& name);

}  // namespace orvix::images
