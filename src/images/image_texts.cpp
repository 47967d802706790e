#include "images/image_texts.h"

namespace orvix::images {

void addTexts(ImageWriter& writer, const std::string& name, const std::vector<std::string>& texts) {
    std::vector<std::uint32_t> ends;
    std::string letters;
    for (const std::string& text : texts) {
        letters += text;
        ends.push_back(static_cast<std::uint32_t>(letters.size()));
    }
    writer.add(name + "/ends", std::span<const std::uint32_t>(ends));
    writer.add(name + "/letters", std::span<const char>(letters));
}

std::optional<std::vector<std::string>> textsOf(const ImageFile& image, const std::string& name) {
    const auto ends = image.section<std::uint32_t>(name + "/ends");
    const auto letters = image.section<char>(name + "/letters");
    if (!ends || !letters) {
        return std::nullopt;
    }
    std::vector<std::string> texts;
    texts.reserve(ends->size());
    std::size_t at = 0;
    for (const std::uint32_t end : *ends) {
        if (end < at || end > letters->size()) {
            return std::nullopt;
        }
        texts.emplace_back(letters->data() + at, end - at);
        at = end;
    }
    return texts;
}

}  // namespace orvix::images
