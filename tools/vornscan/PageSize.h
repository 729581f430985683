// Sizes of paper.
#pragma once

#include <string>

namespace vornscan {

struct PageSize {
    std::string name;
    double width;   ///< millimetres
    double height;  ///< millimetres

    bool operator==(const PageSize&) const = default;
};

/**
 * "a4", "letter" and the like, or a size with its unit: "8.5x11in", "210x297mm", "21x29.7cm".
 * @throws Failure for anything else
 */
PageSize ParsePageSize(const std::string& typed);

}  // namespace vornscan
