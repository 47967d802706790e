#pragma once

#include <memory>

#include "images/image_source.h"

namespace CLI {
class App;
}

namespace orvix {
class Model;
}

namespace orvix::cli {

/// What a command line says of prepared images.
struct ImageOptions {
    bool without = false, check = false;
};

/// The options --no-image and --check-image.
void addImageOptions(CLI::App& command, ImageOptions& options);

/// A model that takes its data as the options, or else the environment, say.
std::shared_ptr<const Model> modelFor(const ImageOptions& options);

}  // namespace orvix::cli
