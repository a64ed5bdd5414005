#pragma once

#include "wire/Column.h"

#include <QByteArray>

#include <initializer_list>

namespace wire {

// What all columns of a result are: never changes, and is shared by whoever passes it on. Knows the bytes in
// which it travels, which are made once for the many replies of one statement.
class WIRE_EXPORT ColumnInfos {
public:
    ColumnInfos(); // no columns
    ColumnInfos(std::vector<ColumnInfo> infos); // NOLINT(google-explicit-constructor): is one
    ColumnInfos(std::initializer_list<ColumnInfo> infos);
    // `body`: the bytes that `infos` were read from.
    ColumnInfos(std::vector<ColumnInfo> infos, QByteArray body);

    const std::vector<ColumnInfo>& operator*() const noexcept { return shared_->infos; }
    const std::vector<ColumnInfo>* operator->() const noexcept { return &shared_->infos; }
    const QByteArray& Body() const noexcept { return shared_->body; }
    // The same by sharing; others may be equal in what they say.
    bool IsSharedWith(const ColumnInfos& other) const noexcept { return shared_ == other.shared_; }

private:
    struct Shared {
        std::vector<ColumnInfo> infos;
        QByteArray body;
    };
    std::shared_ptr<const Shared> shared_;
};

} // namespace wire
