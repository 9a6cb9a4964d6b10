#pragma once

#include <stdexcept>

namespace ZEB {

// The light-source file can be neither opened nor rebuilt; error is the errno.
struct NoLightSourceFile : std::logic_error {
    explicit NoLightSourceFile(int why)
        : std::logic_error("No way to create LightSorce Log File"), error(why) {}

    int error;
};

}  // namespace ZEB
