#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace orvix::images {

/// What went into an image.
struct Prepared {
    std::string path;
    std::uint64_t bytes = 0;
    std::vector<std::string> components;  ///< names, in their order in the image
    /// Components that stay text, each with the reason: their files are missing, or reading them
    /// has something to say.
    std::vector<std::string> leftOut;
};

/// Makes the image of the text files in `tables` (the directory with orvix.tab) and puts it at
/// `output`, whole or not at all; an empty `output` stands for its place beside them. Throws
/// RunError when it can't be written, when there is nothing to put in, and when a file changes
/// meanwhile.
Prepared prepareImage(const std::string& tables, const std::string& output = {});

}  // namespace orvix::images
