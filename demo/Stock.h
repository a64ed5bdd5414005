#pragma once

#include "demo/Generator.h"
#include "demo/Network.h"

#include <array>

namespace demo {

// The paper waybills: every collecting site tears numbers off its own roll, one after another; damaged ones
// are left out and stand among the disabled numbers.
class WaybillStock {
public:
    explicit WaybillStock(const Network& network);

    // The next number at a collecting site.
    QString Take(int site);
    // The ranges that were issued, with some to spare at every site, and the disabled numbers.
    void Write(const wire::DateTime& now, company::RowSink& sink) const;

private:
    struct Roll {
        int shortBlock = -1; // old rolls of eight digits, where the site has them
        qint64 used = 0; // numbers gone so far, the damaged included
    };
    QString NumberAt(int site, qint64 position) const;
    void WriteRanges(int site, qint64& id, const wire::DateTime& now, class TableWriter& writer) const;

    const Network& network_;
    std::vector<Roll> rolls_; // by site
};

// Coupons of every face value: valid, not yet valid, expired, and those that orders have used up.
class CouponStock {
public:
    QString TakeUsed(int kind);
    void Write(const wire::DateTime& now, company::RowSink& sink) const;

    static constexpr int kKinds = 5;
    static QString FaceValue(int kind);

private:
    std::array<int, kKinds> used_{};
};

} // namespace demo
