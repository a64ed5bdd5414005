#pragma once

#include <chrono>
#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <type_traits>

namespace storage::odbc {

// The thread on which one connection lives. Qt SQL binds a connection to the thread that opened it, while the
// pool lends ours to whichever thread has a request, and a long result is read by a second one. A connection
// a client thread instead would need as many connections as there are clients; handing a call over costs some
// microseconds beside the network's round trip.
class Worker {
public:
    // `whileWaiting` is called now and then on a thread that waits for its work, or has much of it.
    explicit Worker(std::function<void()> whileWaiting);
    ~Worker();
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    // Runs `work` on the worker's thread; gives what it gives, raises what it raises. One caller at a time.
    template <typename Work> auto Run(Work&& work) -> std::invoke_result_t<Work&>
    {
        using Result = std::invoke_result_t<Work&>;
        if constexpr (std::is_void_v<Result>) {
            Execute(work);
        } else {
            std::optional<Result> result;
            Execute([&] { result.emplace(work()); });
            return std::move(*result);
        }
    }

private:
    using Task = std::function<void()>;

    void Execute(const Task& task);
    void Loop();

    const std::function<void()> whileWaiting_;
    std::chrono::steady_clock::time_point lastLook_{}; // of the callers
    std::mutex mutex_;
    std::condition_variable changed_;
    const Task* task_ = nullptr; // handed over, not yet finished
    bool ended_ = false;
    std::exception_ptr error_;
    std::thread thread_;
};

} // namespace storage::odbc
