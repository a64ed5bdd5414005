#include "server/monitoring/Metrics.h"

#include "server/monitoring/Process.h"

#include <QLocale>

#include <algorithm>
#include <string_view>

namespace server::monitoring {
namespace {

constexpr std::array<const char*, kOutcomes> kOutcomeNames{"ok", "refused", "failed", "abandoned"};

size_t IndexOf(wire::RequestKind kind) noexcept
{
    const auto index = static_cast<size_t>(kind);
    return index <= static_cast<size_t>(wire::RequestKind::Clock) ? index : 0;
}

QByteArray Label(const char* name, const char* value)
{
    return QByteArray(name) + "=\"" + value + '"';
}

// The shortest text that reads as the same number.
QByteArray Number(double value)
{
    return QByteArray::number(value, 'f', QLocale::FloatingPointShortest);
}

void AppendSample(QByteArray& out, const QByteArray& name, const QByteArray& labels, const QByteArray& value)
{
    out += name;
    if (!labels.isEmpty())
        out += '{' + labels + '}';
    out += ' ' + value + '\n';
}

void AppendHistogram(
    QByteArray& out, const QByteArray& name, const QByteArray& labels, const Histogram& histogram)
{
    const QByteArray before = labels.isEmpty() ? QByteArray() : labels + ',';
    quint64 count = 0;
    for (size_t i = 0; i <= Histogram::kBounds.size(); ++i) {
        count += histogram.Bucket(i);
        const QByteArray bound = i < Histogram::kBounds.size() ? Number(Histogram::kBounds[i]) : "+Inf";
        AppendSample(out, name + "_bucket", before + "le=\"" + bound + '"', QByteArray::number(count));
    }
    AppendSample(out, name + "_sum", labels, Number(histogram.Seconds()));
    AppendSample(out, name + "_count", labels, QByteArray::number(count));
}

double UnixNow()
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
}

} // namespace

const char* NameOf(wire::RequestKind kind) noexcept
{
    static constexpr std::array<const char*, 6> kNames{
        "unknown", "login", "query", "execute", "apply_updates", "clock"};
    return kNames[IndexOf(kind)];
}

void Histogram::Observe(std::chrono::nanoseconds time) noexcept
{
    const double seconds = static_cast<double>(time.count()) * 1e-9;
    const auto bucket = std::lower_bound(kBounds.begin(), kBounds.end(), seconds) - kBounds.begin();
    buckets_[static_cast<size_t>(bucket)].fetch_add(1, std::memory_order_relaxed);
    nanoseconds_.fetch_add(
        static_cast<quint64>(std::max<qint64>(0, time.count())), std::memory_order_relaxed);
}

void Registry::Add(const char* name, const char* help, const QByteArray& labels, Source source)
{
    entries_.push_back({name, help, labels, std::move(source)});
}

Counter& Registry::NewCounter(const char* name, const char* help, const QByteArray& labels)
{
    const std::lock_guard lock(mutex_);
    Counter& counter = counters_.emplace_back();
    Add(name, help, labels, &counter);
    return counter;
}

Gauge& Registry::NewGauge(const char* name, const char* help, const QByteArray& labels)
{
    const std::lock_guard lock(mutex_);
    Gauge& gauge = gauges_.emplace_back();
    Add(name, help, labels, &gauge);
    return gauge;
}

Histogram& Registry::NewHistogram(const char* name, const char* help, const QByteArray& labels)
{
    const std::lock_guard lock(mutex_);
    Histogram& histogram = histograms_.emplace_back();
    Add(name, help, labels, &histogram);
    return histogram;
}

void Registry::NewCounter(
    const char* name, const char* help, const QByteArray& labels, std::function<double()> value)
{
    const std::lock_guard lock(mutex_);
    Add(name, help, labels, Asked{true, std::move(value)});
}

void Registry::NewGauge(
    const char* name, const char* help, const QByteArray& labels, std::function<double()> value)
{
    const std::lock_guard lock(mutex_);
    Add(name, help, labels, Asked{false, std::move(value)});
}

QByteArray Registry::Render() const
{
    const std::lock_guard lock(mutex_);
    QByteArray out;
    std::string_view family;
    for (const Entry& entry : entries_) {
        const QByteArray name(entry.name);
        const auto* asked = std::get_if<Asked>(&entry.source);
        const auto* counter = std::get_if<const Counter*>(&entry.source);
        const auto* histogram = std::get_if<const Histogram*>(&entry.source);
        if (entry.name != family) {
            family = entry.name;
            const bool counts = counter != nullptr || (asked != nullptr && asked->counts);
            const char* type = counts ? "counter" : histogram != nullptr ? "histogram" : "gauge";
            out += "# HELP " + name + ' ' + entry.help + "\n# TYPE " + name + ' ' + type + '\n';
        }
        if (histogram != nullptr)
            AppendHistogram(out, name, entry.labels, **histogram);
        else if (counter != nullptr)
            AppendSample(out, name, entry.labels, QByteArray::number((*counter)->Value()));
        else if (asked != nullptr)
            AppendSample(out, name, entry.labels, Number(asked->value()));
        else
            AppendSample(
                out, name, entry.labels, QByteArray::number(std::get<const Gauge*>(entry.source)->Value()));
    }
    return out;
}

Metrics::Metrics()
{
    for (size_t kind = 0; kind < kKinds; ++kind) {
        const QByteArray label = Label("kind", NameOf(static_cast<wire::RequestKind>(kind)));
        for (size_t outcome = 0; outcome < kOutcomes; ++outcome)
            requests_[kind][outcome] =
                &registry_.NewCounter("zelmor_requests_total", "Requests answered, by kind and outcome.",
                    label + ',' + Label("outcome", kOutcomeNames[outcome]));
    }
    for (size_t kind = 0; kind < kKinds; ++kind)
        requestTimes_[kind] = &registry_.NewHistogram("zelmor_request_seconds",
            "Time from a request's arrival to the end of its reply, by kind.",
            Label("kind", NameOf(static_cast<wire::RequestKind>(kind))));
    for (size_t reason = 0; reason < kRefusalReasons; ++reason)
        refused_[reason] = &registry_.NewCounter("zelmor_refused_total",
            "Connections, logins and requests that were refused, by reason.",
            Label("reason", NameOf(static_cast<RefusalReason>(reason))));
    registry_.NewGauge(
        "zelmor_build_info", "The version that runs.", Label("version", Version()), [] { return 1.0; });
    registry_.NewGauge("process_start_time_seconds", "When the program started, in Unix time.", {},
        [start = UnixNow()] { return start; });
    registry_.NewGauge("process_resident_memory_bytes", "Memory in use.", {},
        [] { return static_cast<double>(ResidentBytes()); });
}

void Metrics::Request(wire::RequestKind kind, Outcome outcome, std::chrono::nanoseconds time) noexcept
{
    const size_t index = IndexOf(kind);
    requests_[index][static_cast<size_t>(outcome)]->Add();
    requestTimes_[index]->Observe(time);
}

quint64 Metrics::Requests(Outcome outcome) const noexcept
{
    quint64 sum = 0;
    for (const auto& kind : requests_)
        sum += kind[static_cast<size_t>(outcome)]->Value();
    return sum;
}

quint64 Metrics::Requests() const noexcept
{
    quint64 sum = 0;
    for (size_t outcome = 0; outcome < kOutcomes; ++outcome)
        sum += Requests(static_cast<Outcome>(outcome));
    return sum;
}

quint64 Metrics::Refused() const noexcept
{
    quint64 sum = 0;
    for (const Counter* counter : refused_)
        sum += counter->Value();
    return sum;
}

std::chrono::seconds Metrics::Uptime() const noexcept
{
    return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - start_);
}

} // namespace server::monitoring
