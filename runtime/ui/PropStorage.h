#pragma once

#include "runtime/Export.h"

#include <QObject>
#include <QPointer>
#include <QStringList>

#include <functional>
#include <memory>

// An INI file of settings: sections of keys. Values are texts; any text survives being written and read. The
// file appears, with its folder, when something is first written. A damaged or unreadable file reads as
// empty, which is told once through OnProblem, and is set aside as "<name>.damaged" before it is written
// anew; a file that cannot be written raises nothing: the reason is kept in LastError and told once through
// OnProblem.
class RUNTIME_EXPORT TIniPropStorageManEh : public QObject {
    Q_OBJECT
public:
    explicit TIniPropStorageManEh(QObject* owner = nullptr);
    ~TIniPropStorageManEh() override;

    // Either separator is understood on every system.
    void SetIniFileName(const QString& path);
    const QString& IniFileName() const noexcept;

    QString ReadString(const QString& section, const QString& key, const QString& defaultText = {}) const;
    void WriteString(const QString& section, const QString& key, const QString& text);
    QStringList ReadKeys(const QString& section) const;
    void EraseSection(const QString& section);
    // Writes what changed, whole or not at all.
    bool Flush();

    const QString& LastError() const noexcept;
    std::function<void(const QString& message)> OnProblem;

private:
    class Private;
    std::unique_ptr<Private> d_;
};

// Stores and restores named properties of a form. A path is the names of the objects from the form's child
// inwards, then "<P>" and the property: "Panel1.PageControl1.TabSheet1.Panel2.DBComboBoxEh2.<P>.Text"; the
// property is matched without regard to case. The section is "." and the form's name.
class RUNTIME_EXPORT TPropStorageEh : public QObject {
    Q_OBJECT
public:
    explicit TPropStorageEh(QObject* form, const QString& name = {});

    void SetStorageManager(TIniPropStorageManEh* manager);
    TIniPropStorageManEh* StorageManager() const noexcept;
    bool Active = false;
    QStringList StoredProps;

    void Load();
    void Save();

private:
    QPointer<TIniPropStorageManEh> manager_;
};
