// A word to the person at the keyboard when something takes long.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "Failure.h"

namespace vornscan {

/** Says the sentence once the scope has lasted for some seconds. */
class SlowNotice {
public:
    explicit SlowNotice(std::string sentence)
        : thread_{[sentence = std::move(sentence)](const std::stop_token& ended) {
              constexpr auto kLong = std::chrono::seconds{3};
              std::mutex mutex;
              std::unique_lock lock{mutex};
              std::condition_variable_any over;
              over.wait_for(lock, ended, kLong, [] { return false; });
              if (!ended.stop_requested())
                  Say(sentence);
          }}
    {
    }

private:
    std::jthread thread_;
};

}  // namespace vornscan
