#include "frame/string_table.h"

#include <vector>

namespace zt {

std::span<const SStringEntry> StringTable() {
    static const std::vector<SStringEntry> all = [] {
        std::vector<SStringEntry> v;
        for (auto part : {ColourStrings(), BlurStrings(), ShapeStrings(), GeometryStrings()})
            v.insert(v.end(), part.begin(), part.end());
        return v;
    }();
    return all;
}

}  // namespace zt
