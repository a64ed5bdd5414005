#pragma once

#include "runtime/ui/Forms.h"

#include <QPointer>

namespace automation {

// `screen` of a script: one open window.
class TScreenObject : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString name READ Name)
    Q_PROPERTY(QString caption READ Caption)
public:
    explicit TScreenObject(QWidget* window);

    QString Name() const;
    QString Caption() const;

    // By object name or, failing that, by what stands on the screen: its label, its button text, its group
    // box. "DataView1.Button1" names one inside another. Two of the same label are an error that names both.
    Q_INVOKABLE QObject* control(const QString& name);
    // The same for a grid or for what is around it.
    Q_INVOKABLE QObject* grid(const QString& name);
    Q_INVOKABLE bool has(const QString& name);
    // False when the screen stayed.
    Q_INVOKABLE bool close();
    Q_INVOKABLE void key(const QString& name);
    // The rights code as three characters.
    Q_INVOKABLE QString rights();

private:
    QWidget* Window() const;
    QObject* Find(const QString& name) const;

    QPointer<QWidget> window_;
};

} // namespace automation
