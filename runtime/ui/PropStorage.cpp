#include "runtime/ui/PropStorage.h"

#include "runtime/ui/Application.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QMetaProperty>
#include <QSaveFile>
#include <QStringConverter>
#include <QVariant>

#include <optional>
#include <utility>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

struct IniEntry {
    QString key;
    QString text;
};

struct IniSection {
    QString name;
    std::vector<IniEntry> entries;
};

using IniContents = std::vector<IniSection>;

IniSection* FindSection(IniContents& contents, const QString& name)
{
    for (IniSection& section : contents) {
        if (section.name == name)
            return &section;
    }
    return nullptr;
}

void Set(IniContents& contents, const QString& sectionName, const QString& key, const QString& text)
{
    IniSection* section = FindSection(contents, sectionName);
    if (!section)
        section = &contents.emplace_back(IniSection{sectionName, {}});
    for (IniEntry& entry : section->entries) {
        if (entry.key == key) {
            entry.text = text;
            return;
        }
    }
    section->entries.push_back({key, text});
}

// Whatever would end a line, a key or a section's name, or be trimmed away by an editor, is written as
// "\uXXXX".
QString Escaped(const QString& text, QStringView special)
{
    QString out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        const bool edge = i == 0 || i + 1 == text.size();
        if (c < u' ' || c == u'\\' || c == QChar(0x7f) || c == QChar(0xfeff) || (edge && c.isSpace())
            || special.contains(c))
            out += u"\\u%1"_s.arg(uint(c.unicode()), 4, 16, QLatin1Char('0'));
        else
            out += c;
    }
    return out;
}

std::optional<QString> Unescaped(QStringView text)
{
    QString out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != u'\\') {
            out += text[i];
            continue;
        }
        bool valid = false;
        const uint code = text.mid(i + 2, 4).toUInt(&valid, 16);
        if (!valid || i + 6 > text.size() || text[i + 1] != u'u')
            return std::nullopt;
        out += QChar(ushort(code));
        i += 5;
    }
    return out;
}

constexpr QStringView kKeySpecial = u"=[];#";
constexpr QStringView kNameSpecial = u"[]";

// nullopt: not a settings file.
std::optional<IniContents> Parse(const QByteArray& bytes)
{
    if (bytes.contains('\0'))
        return std::nullopt;
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder(bytes);
    if (decoder.hasError())
        return std::nullopt;
    IniContents contents;
    const auto lines = QStringView(text).split(u'\n');
    for (QStringView line : lines) {
        line = line.trimmed();
        if (line.isEmpty() || line.startsWith(u';') || line.startsWith(u'#'))
            continue;
        if (line.startsWith(u'[')) {
            const auto name = line.endsWith(u']') ? Unescaped(line.mid(1, line.size() - 2)) : std::nullopt;
            if (!name)
                return std::nullopt;
            if (!FindSection(contents, *name))
                contents.push_back({*name, {}});
            else
                return std::nullopt;
            continue;
        }
        const qsizetype equals = line.indexOf(u'=');
        if (equals <= 0 || contents.empty())
            return std::nullopt;
        const auto key = Unescaped(line.left(equals).trimmed());
        const auto value = Unescaped(line.mid(equals + 1).trimmed());
        if (!key || !value)
            return std::nullopt;
        Set(contents, contents.back().name, *key, *value);
    }
    return contents;
}

QByteArray Serialized(const IniContents& contents)
{
    QString text;
    for (const IniSection& section : contents) {
        if (section.entries.empty())
            continue;
        text += u'[' + Escaped(section.name, kNameSpecial) + u"]\n"_s;
        for (const IniEntry& entry : section.entries)
            text += Escaped(entry.key, kKeySpecial) + u'=' + Escaped(entry.text, {}) + u'\n';
        text += u'\n';
    }
    return text.toUtf8();
}

struct IniChange {
    QString section;
    QString key; // null: the whole section is erased
    QString text;
};

void Apply(IniContents& contents, const IniChange& change)
{
    if (change.key.isNull())
        std::erase_if(contents, [&](const IniSection& section) { return section.name == change.section; });
    else
        Set(contents, change.section, change.key, change.text);
}

} // namespace

class TIniPropStorageManEh::Private {
public:
    QString fileName;
    mutable IniContents contents;
    mutable bool loaded = false;
    mutable bool damaged = false;
    std::vector<IniChange> changes; // since the last flush
    mutable QString lastError;
    bool told = false;
    mutable bool toldDamage = false;

    void Load(const std::function<void(const QString& message)>& tell) const;
    QString AsideName() const { return fileName + u".damaged"_s; }
    bool SetAside(QString& reason) const;
    void Change(IniChange change);
};

void TIniPropStorageManEh::Private::Load(const std::function<void(const QString& message)>& tell) const
{
    loaded = true;
    damaged = false;
    contents.clear();
    QFile file(fileName);
    if (!file.exists())
        return;
    QString reason = u"内容已损坏"_s;
    if (file.open(QIODevice::ReadOnly)) {
        if (auto parsed = Parse(file.readAll())) {
            contents = std::move(*parsed);
            return;
        }
    } else {
        reason = lastError = file.errorString();
    }
    damaged = true;
    if (std::exchange(toldDamage, true) || !tell)
        return;
    tell(u"界面设置文件“%1”读不出来（%2），界面按默认设置显示。下次保存设置时原文件另存为“%3”，"
         u"需要找回设置请交给管理员，否则可以删除。"_s.arg(
             QDir::toNativeSeparators(fileName), reason, QDir::toNativeSeparators(AsideName())));
}

bool TIniPropStorageManEh::Private::SetAside(QString& reason) const
{
    QFile::remove(AsideName());
    QFile file(fileName);
    if (file.rename(AsideName()))
        return true;
    reason = file.errorString();
    return false;
}

// What it overtakes need not be written any more: a screen that stays open for weeks keeps its criteria with
// every query.
void TIniPropStorageManEh::Private::Change(IniChange change)
{
    std::erase_if(changes, [&](const IniChange& earlier) {
        return earlier.section == change.section
            && (change.key.isNull() || (!earlier.key.isNull() && earlier.key == change.key));
    });
    Apply(contents, change);
    changes.push_back(std::move(change));
}

TIniPropStorageManEh::TIniPropStorageManEh(QObject* owner)
    : QObject(owner)
    , d_(std::make_unique<Private>())
{
}

TIniPropStorageManEh::~TIniPropStorageManEh()
{
    OnProblem = {}; // too late to tell anybody
    Flush();
}

void TIniPropStorageManEh::SetIniFileName(const QString& path)
{
    d_->fileName = QString(path).replace(u'\\', u'/');
    d_->loaded = false;
    d_->toldDamage = false;
    d_->changes.clear();
}

const QString& TIniPropStorageManEh::IniFileName() const noexcept
{
    return d_->fileName;
}

QString TIniPropStorageManEh::ReadString(
    const QString& section, const QString& key, const QString& defaultText) const
{
    if (!d_->loaded)
        d_->Load(OnProblem);
    if (const IniSection* found = FindSection(d_->contents, section)) {
        for (const IniEntry& entry : found->entries) {
            if (entry.key == key)
                return entry.text;
        }
    }
    return defaultText;
}

void TIniPropStorageManEh::WriteString(const QString& section, const QString& key, const QString& text)
{
    if (!d_->loaded)
        d_->Load(OnProblem);
    d_->Change({section, key.isNull() ? u""_s : key, text});
}

QStringList TIniPropStorageManEh::ReadKeys(const QString& section) const
{
    if (!d_->loaded)
        d_->Load(OnProblem);
    QStringList keys;
    if (const IniSection* found = FindSection(d_->contents, section)) {
        for (const IniEntry& entry : found->entries)
            keys += entry.key;
    }
    return keys;
}

void TIniPropStorageManEh::EraseSection(const QString& section)
{
    if (!d_->loaded)
        d_->Load(OnProblem);
    d_->Change({section, {}, {}});
}

bool TIniPropStorageManEh::Flush()
{
    if (d_->changes.empty() || d_->fileName.isEmpty())
        return true;
    const auto problem = [this](const QString& reason) {
        d_->lastError = reason;
        if (!d_->told && OnProblem) {
            d_->told = true;
            OnProblem(
                u"界面设置无法保存到“%1”：%2。请检查磁盘空间和该文件夹的写入权限，然后重新打开窗口。"_s.arg(
                    QDir::toNativeSeparators(d_->fileName), reason));
        }
        return false;
    };
    const QFileInfo info(d_->fileName);
    if (!QDir().mkpath(info.absolutePath()))
        return problem(u"不能建立文件夹"_s);
    // Another client on this machine may have written meanwhile: its settings stay, ours go on top.
    QLockFile lock(d_->fileName + u".lock"_s);
    lock.setStaleLockTime(10'000);
    if (!lock.tryLock(2'000))
        return problem(lock.error() == QLockFile::PermissionError ? u"没有写入权限"_s : u"文件正被占用"_s);
    const IniContents ours = d_->contents;
    d_->Load(OnProblem);
    if (d_->damaged) {
        QString reason;
        if (!d_->SetAside(reason)) {
            d_->contents = ours;
            return problem(reason);
        }
    }
    for (const IniChange& change : d_->changes)
        Apply(d_->contents, change);
    QSaveFile file(d_->fileName);
    const QByteArray bytes = Serialized(d_->contents);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        return problem(file.errorString());
    d_->changes.clear();
    d_->lastError.clear();
    d_->told = false;
    return true;
}

const QString& TIniPropStorageManEh::LastError() const noexcept
{
    return d_->lastError;
}

namespace {

// The object and the property that a stored path names; the object is null when the form has no such thing.
std::pair<QObject*, QMetaProperty> Resolve(QObject* form, const QString& path)
{
    const qsizetype mark = path.indexOf(u".<P>."_s);
    if (mark <= 0)
        return {};
    QObject* object = form;
    const QStringList names = path.left(mark).split(u'.');
    for (const QString& name : names) {
        object = object->findChild<QObject*>(name);
        if (!object)
            return {};
    }
    const QString wanted = path.mid(mark + 5);
    const QMetaObject* type = object->metaObject();
    // The most derived declaration of the name wins.
    for (int i = type->propertyCount() - 1; i >= 0; --i) {
        if (wanted.compare(QLatin1StringView(type->property(i).name()), Qt::CaseInsensitive) == 0)
            return {object, type->property(i)};
    }
    return {};
}

} // namespace

TPropStorageEh::TPropStorageEh(QObject* form, const QString& name)
    : QObject(form)
{
    setObjectName(name);
}

void TPropStorageEh::SetStorageManager(TIniPropStorageManEh* manager)
{
    manager_ = manager;
}

TIniPropStorageManEh* TPropStorageEh::StorageManager() const noexcept
{
    return manager_;
}

void TPropStorageEh::Load()
{
    if (!Active || !manager_ || !parent())
        return;
    const QString section = u'.' + parent()->objectName();
    const QStringList stored = manager_->ReadKeys(section);
    for (const QString& path : std::as_const(StoredProps)) {
        if (!stored.contains(path))
            continue;
        const auto [object, property] = Resolve(parent(), path);
        if (object)
            property.write(object, manager_->ReadString(section, path));
    }
}

void TPropStorageEh::Save()
{
    if (!Active || !manager_ || !parent())
        return;
    const QString section = u'.' + parent()->objectName();
    for (const QString& path : std::as_const(StoredProps)) {
        const auto [object, property] = Resolve(parent(), path);
        if (object)
            manager_->WriteString(section, path, property.read(object).toString());
    }
    manager_->Flush();
}
