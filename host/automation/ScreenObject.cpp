#include "host/automation/ScreenObject.h"

#include "host/automation/ControlObject.h"
#include "host/automation/GridObject.h"
#include "host/automation/Input.h"
#include "host/automation/Labels.h"
#include "host/automation/Rows.h"

#include <QAction>

#include <stdexcept>

using namespace Qt::Literals::StringLiterals;

namespace automation {

TScreenObject::TScreenObject(QWidget* window)
    : window_(window)
{
}

QWidget* TScreenObject::Window() const
{
    if (!window_)
        throw std::runtime_error("the window is closed");
    return window_;
}

QString TScreenObject::Name() const
{
    return window_ ? window_->objectName() : QString();
}

QString TScreenObject::Caption() const
{
    return window_ ? window_->windowTitle() : QString();
}

QObject* TScreenObject::Find(const QString& name) const
{
    QObject* found = Window();
    const QStringList steps = name.split(u'.');
    for (const QString& step : steps) {
        QObject* inner = found->findChild<QWidget*>(step);
        if (!inner)
            inner = found->findChild<QAction*>(step);
        if (!inner && found->isWidgetType())
            inner = FindByLabel(*static_cast<QWidget*>(found), step);
        if (!inner)
            return nullptr;
        found = inner;
    }
    return found;
}

QObject* TScreenObject::control(const QString& name)
{
    return Call(this, [&]() -> QObject* {
        QObject* found = Find(name);
        if (!found)
            throw std::runtime_error((Name() + u" has no control "_s + name).toStdString());
        return new TControlObject(found);
    });
}

QObject* TScreenObject::grid(const QString& name)
{
    return Call(this, [&]() -> QObject* {
        QObject* found = Find(name);
        auto* grid = qobject_cast<TDBGridEh*>(found);
        if (found && !grid)
            grid = found->findChild<TDBGridEh*>();
        if (!grid)
            throw std::runtime_error((Name() + u" has no grid "_s + name).toStdString());
        return new TGridObject(grid);
    });
}

bool TScreenObject::has(const QString& name)
{
    return Call(this, [&] { return Find(name) != nullptr; });
}

bool TScreenObject::close()
{
    return Call(this, [this] {
        QWidget* window = Window();
        auto* form = qobject_cast<TForm*>(window);
        const bool closed = form ? form->Close() : window->close();
        Settle();
        return closed;
    });
}

void TScreenObject::key(const QString& name)
{
    Call(this, [&] { PressKey(KeyboardTarget(Window()), name); });
}

QString TScreenObject::rights()
{
    return Call(this, [this] {
        QString code;
        for (const char* right : {"Right1", "Right2", "Right3"}) {
            const QVariant granted = Window()->property(right);
            if (!granted.isValid())
                throw std::runtime_error("the window has no rights");
            code += granted.toBool() ? u'1' : u'0';
        }
        return code;
    });
}

} // namespace automation
