#include "cli/image_options.h"

#include <CLI/CLI.hpp>
#include <cstdlib>

#include "model/model.h"

namespace orvix::cli {

void addImageOptions(CLI::App& command, ImageOptions& options) {
    CLI::Option* const without =
        command.add_flag("--no-image", options.without,
                         "Read the text of the data directory, not its prepared image");
    command
        .add_flag("--check-image", options.check,
                  "Compare the content of image and text files before the image is used")
        ->excludes(without);
}

std::shared_ptr<const Model> modelFor(const ImageOptions& options) {
    images::ImageUse use = images::ImageUse::stamps;
    if (options.without || options.check) {
        use = options.without ? images::ImageUse::none : images::ImageUse::content;
    } else if (const char* word = std::getenv(images::imageUseVariable)) {
        use = images::imageUseFromWord(word).value_or(use);
    }
    return std::make_shared<const Model>(images::modelSource(use));
}

}  // namespace orvix::cli
