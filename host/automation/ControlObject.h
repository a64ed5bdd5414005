#pragma once

#include <QJSValue>
#include <QObject>
#include <QPointer>
#include <QWidget>

namespace automation {

// `control` of a script: one widget, or an action through the button that shows it.
class TControlObject : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString name READ Name)
    Q_PROPERTY(QString text READ Text WRITE SetText)
    Q_PROPERTY(bool checked READ Checked WRITE SetChecked)
    Q_PROPERTY(bool enabled READ Enabled)
    Q_PROPERTY(bool visible READ Visible)
    Q_PROPERTY(bool hasFocus READ HasFocus)
public:
    explicit TControlObject(QObject* control);

    QString Name() const;
    QString Text() const;
    // As typed over what was there, then left.
    void SetText(const QString& text);
    bool Checked() const;
    void SetChecked(bool checked);
    bool Enabled() const;
    bool Visible() const;
    bool HasFocus() const;

    Q_INVOKABLE void click();
    Q_INVOKABLE void focus();
    Q_INVOKABLE void key(const QString& name);
    // Types without selecting what is there and without leaving.
    Q_INVOKABLE void type(const QString& text);
    // The texts that the control offers in its list.
    Q_INVOKABLE QStringList items();

private:
    QObject* Object() const;
    QWidget* Widget() const;

    QPointer<QObject> control_;
};

} // namespace automation
