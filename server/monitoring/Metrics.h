#pragma once

#include "server/refusal/Refusal.h"
#include "wire/Messages.h"

#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <mutex>

namespace server::monitoring {

// Goes up. On a cache line of its own: threads that count different things do not meet.
class alignas(64) Counter {
public:
    void Add(quint64 n = 1) noexcept { value_.fetch_add(n, std::memory_order_relaxed); }
    quint64 Value() const noexcept { return value_.load(std::memory_order_relaxed); }

private:
    std::atomic<quint64> value_{0};
};

// Goes up and down.
class alignas(64) Gauge {
public:
    void Add(qint64 n) noexcept { value_.fetch_add(n, std::memory_order_relaxed); }
    void Set(qint64 n) noexcept { value_.store(n, std::memory_order_relaxed); }
    qint64 Value() const noexcept { return value_.load(std::memory_order_relaxed); }

    // One more while this lives.
    class Hold {
    public:
        explicit Hold(Gauge& gauge) noexcept
            : gauge_(gauge)
        {
            gauge_.Add(1);
        }
        ~Hold() { gauge_.Add(-1); }
        Q_DISABLE_COPY(Hold)

    private:
        Gauge& gauge_;
    };

private:
    std::atomic<qint64> value_{0};
};

// How long things took, from 100 microseconds to a minute.
class alignas(64) Histogram {
public:
    static constexpr std::array<double, 18> kBounds{0.0001, 0.00025, 0.0005, 0.001, 0.0025, 0.005, 0.01,
        0.025, 0.05, 0.1, 0.25, 0.5, 1, 2.5, 5, 10, 30, 60}; // seconds

    void Observe(std::chrono::nanoseconds time) noexcept;
    // Of the bucket that ends at kBounds[i]; i = kBounds.size(): what took longer. Not cumulative.
    quint64 Bucket(size_t i) const noexcept { return buckets_[i].load(std::memory_order_relaxed); }
    double Seconds() const noexcept
    {
        return static_cast<double>(nanoseconds_.load(std::memory_order_relaxed)) * 1e-9;
    }

private:
    std::array<std::atomic<quint64>, kBounds.size() + 1> buckets_{};
    std::atomic<quint64> nanoseconds_{0};
};

// Figures by name, and their text in the format that Prometheus reads. What it hands out lives as long as the
// registry. Names of one family are given one after another, with the same help.
class Registry {
public:
    // `labels`: empty, or `kind="query"`; several with commas between them. `name`: with unit, `_total` for
    // counters.
    Counter& NewCounter(const char* name, const char* help, const QByteArray& labels = {});
    Gauge& NewGauge(const char* name, const char* help, const QByteArray& labels = {});
    Histogram& NewHistogram(const char* name, const char* help, const QByteArray& labels = {});
    // Figures that are asked for when they are read, on the reader's thread. What `value` uses must live as
    // long.
    void NewCounter(
        const char* name, const char* help, const QByteArray& labels, std::function<double()> value);
    void NewGauge(
        const char* name, const char* help, const QByteArray& labels, std::function<double()> value);

    QByteArray Render() const;

private:
    struct Asked {
        bool counts; // else it is a gauge
        std::function<double()> value;
    };
    using Source = std::variant<const Counter*, const Gauge*, const Histogram*, Asked>;
    struct Entry {
        const char* name;
        const char* help;
        QByteArray labels;
        Source source;
    };
    void Add(const char* name, const char* help, const QByteArray& labels, Source source);

    mutable std::mutex mutex_; // of the lists, not of the figures
    std::vector<Entry> entries_;
    std::deque<Counter> counters_;
    std::deque<Gauge> gauges_;
    std::deque<Histogram> histograms_;
};

// How a request ended. Abandoned: its client was gone before, or it was cut short when the server stopped.
enum class Outcome : quint8 { Ok, Refused, Failed, Abandoned };
constexpr size_t kOutcomes = static_cast<size_t>(Outcome::Abandoned) + 1;

// "query", "apply_updates"…
const char* NameOf(wire::RequestKind kind) noexcept;

// Everything that the server counts. One object, made by the program and handed down; any thread may count.
class Metrics {
public:
    Metrics();
    Q_DISABLE_COPY(Metrics)

    // Requests, by kind and by how they ended.
    void Request(wire::RequestKind kind, Outcome outcome, std::chrono::nanoseconds time) noexcept;
    void Refused(RefusalReason reason) noexcept { refused_[static_cast<size_t>(reason)]->Add(); }

    quint64 Requests() const noexcept; // of all kinds and outcomes
    quint64 Requests(Outcome outcome) const noexcept;
    quint64 Refused() const noexcept; // for all reasons
    std::chrono::seconds Uptime() const noexcept;
    // What is not known here; for the parts that have figures of their own.
    Registry& All() noexcept { return registry_; }
    const Registry& All() const noexcept { return registry_; }

private:
    Registry registry_; // before all that it hands out

public:
    Gauge& sessions = registry_.NewGauge("zelmor_sessions", "Clients connected.");
    Gauge& loggedIn = registry_.NewGauge("zelmor_sessions_logged_in", "Clients connected and logged in.");
    Counter& connections =
        registry_.NewCounter("zelmor_connections_total", "Connections accepted since the start.");
    Counter& loginsAccepted =
        registry_.NewCounter("zelmor_logins_total", "Logins, by outcome.", "outcome=\"ok\"");
    Counter& loginsRefused =
        registry_.NewCounter("zelmor_logins_total", "Logins, by outcome.", "outcome=\"refused\"");
    Counter& bytesReceived = registry_.NewCounter(
        "zelmor_received_bytes_total", "Bytes of requests, as they crossed the network.");
    Counter& bytesSent =
        registry_.NewCounter("zelmor_sent_bytes_total", "Bytes of replies, as they crossed the network.");
    Counter& rowsRead = registry_.NewCounter("zelmor_rows_read_total", "Rows sent as replies to queries.");
    Counter& rowsWritten =
        registry_.NewCounter("zelmor_rows_written_total", "Rows written by change logs and statements.");
    Counter& rowsRefused =
        registry_.NewCounter("zelmor_rows_refused_total", "Rows of change logs that were refused.");
    Counter& slowStatements = registry_.NewCounter(
        "zelmor_slow_statements_total", "Requests that took longer than --slow-statement says.");
    // Seconds since 1970; 0: none.
    Gauge& certificateEnd = registry_.NewGauge("zelmor_certificate_expiry_timestamp_seconds",
        "End of the server certificate's life in Unix time; 0 without TLS.");

private:
    static constexpr size_t kKinds = 6; // wire::RequestKind, and 0 for one that is unknown

    std::array<std::array<Counter*, kOutcomes>, kKinds> requests_{};
    std::array<Histogram*, kKinds> requestTimes_{};
    std::array<Counter*, kRefusalReasons> refused_{};
    const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

} // namespace server::monitoring
