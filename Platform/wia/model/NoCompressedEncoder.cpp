#include "CompressedEncoder.h"

namespace vorn::wia {

std::unique_ptr<PageEncoder> MakeCompressedEncoder(REFGUID)
{
    return nullptr;
}

}  // namespace vorn::wia
