#include "ole.h"
#include "winfiles.h"

namespace {

/** Releases a medium that has no releaser of its own. */
void ReleaseContent(const STGMEDIUM& medium) noexcept
{
    switch (medium.tymed) {
        case TYMED_HGLOBAL:
            GlobalFree(medium.hGlobal);
            return;
        case TYMED_FILE:
            if (medium.lpszFileName)
                DeleteFileW(medium.lpszFileName);
            CoTaskMemFree(medium.lpszFileName);
            return;
        case TYMED_ISTREAM:
            if (medium.pstm)
                medium.pstm->Release();
            return;
        default:
            return;
    }
}

/** With a releaser, the provider keeps the data; the name of a file and the stream's reference are the
 * holder's. */
void ReleaseHeld(const STGMEDIUM& medium) noexcept
{
    if (medium.tymed == TYMED_FILE)
        CoTaskMemFree(medium.lpszFileName);
    else if (medium.tymed == TYMED_ISTREAM && medium.pstm)
        medium.pstm->Release();
    medium.pUnkForRelease->Release();
}

}  // namespace

void ReleaseStgMedium(STGMEDIUM* medium) noexcept
{
    if (!medium)
        return;
    if (medium->pUnkForRelease)
        ReleaseHeld(*medium);
    else
        ReleaseContent(*medium);
    *medium = STGMEDIUM{};
}
