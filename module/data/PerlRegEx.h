#pragma once

#include <QByteArray>
#include <QString>

#include <memory>

// A Perl-compatible regular expression and the text it is tried on. Compiled when first needed after the
// pattern changed.
class TPerlRegEx {
public:
    TPerlRegEx();
    ~TPerlRegEx();
    TPerlRegEx(const TPerlRegEx&) = delete;
    TPerlRegEx& operator=(const TPerlRegEx&) = delete;

    const QString& RegEx() const noexcept { return regEx_; }
    void SetRegEx(const QString& pattern);
    const QString& Subject() const noexcept { return subject_; }
    void SetSubject(const QString& text) { subject_ = text; }

    // Raises wire::Error (Usage without a pattern; Data for a faulty one, with its byte offset and reason).
    void Compile();
    bool Compiled() const noexcept { return compiled_ != nullptr; }
    // Whether the pattern is found in the subject. Raises as Compile does, and wire::Error (Limit) when the
    // search was given up.
    bool Match();

private:
    struct Release {
        void operator()(void* compiled) const noexcept;
    };
    QString regEx_;
    QString subject_;
    std::unique_ptr<void, Release> compiled_;
};

// The instance that the waybill-number checks share; made on first use, kept until the module goes.
TPerlRegEx& SharedRegEx();
void ReleaseSharedRegEx() noexcept;
