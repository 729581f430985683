/**
 * @file MisuseLog.h
 * Collects what the kernel library reports as misuse while the object lives.
 */
#pragma once

#include <string>
#include <vector>

#include "Vornkrnx.h"

namespace vorn::test {

class MisuseLog {
public:
    MisuseLog() { KrnSetMisuseSink(&Append, this); }
    MisuseLog(const MisuseLog&) = delete;
    MisuseLog& operator=(const MisuseLog&) = delete;
    ~MisuseLog() { KrnSetMisuseSink(nullptr, nullptr); }

    std::vector<std::string> lines;

    static void Append(const char* line, void* self)
    {
        static_cast<MisuseLog*>(self)->lines.emplace_back(line);
    }
};

}  // namespace vorn::test
