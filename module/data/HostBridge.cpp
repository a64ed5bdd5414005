#include "module/data/HostBridge.h"

#include "runtime/ui/Application.h"
#include "runtime/ui/Forms.h"

#include <QHash>
#include <QTime>
#include <QVariant>

using namespace Qt::Literals::StringLiterals;

namespace {

// One of the lists that the main form publishes by address, and where in it each name was found last.
struct THostList {
    const char* property;
    QHash<QString, size_t> hits{};

    const TObjectList& Items() const
    {
        static const TObjectList none;
        const QWidget* form = Application ? Application->MainForm() : nullptr;
        if (!form)
            return none;
        const auto address = static_cast<quintptr>(form->property(property).toULongLong());
        return address ? *reinterpret_cast<const TObjectList*>(address) : none;
    }

    QObject* Find(const QString& name)
    {
        const TObjectList& items = Items();
        const auto matches = [&](const QObject* item) {
            return item && item->objectName().compare(name, Qt::CaseInsensitive) == 0;
        };
        const auto hit = hits.constFind(name);
        if (hit != hits.cend() && *hit < items.size() && matches(items[*hit]))
            return items[*hit];
        for (size_t i = 0; i < items.size(); ++i) {
            if (matches(items[i])) {
                hits.insert(name, i);
                return items[i];
            }
        }
        return nullptr;
    }
};

THostList dataSets{"GlobalCdsAddr"};
THostList values{"GlobalValueAddr"};
THostList trees{"GlobalTreeAddr"};

[[noreturn]] void RaiseMissing(const QString& what, const QString& name)
{
    throw wire::Error(wire::ErrorKind::Usage, u"全局%1\"%2\"不存在！"_s.arg(what, name));
}

} // namespace

TClientDataSetEx& GlobalCds(const QString& name)
{
    if (auto* dataSet = qobject_cast<TClientDataSetEx*>(dataSets.Find(name)))
        return *dataSet;
    RaiseMissing(u"数据集"_s, name);
}

QString GlobalValue(const QString& name)
{
    const QObject* item = values.Find(name);
    return item ? item->property("text").toString() : QString();
}

TTreeView& GlobalTree(const QString& name)
{
    if (QWidget* form = Application ? Application->MainForm() : nullptr)
        form->setProperty("GlobalTree", name);
    if (auto* tree = qobject_cast<TTreeView*>(trees.Find(name)))
        return *tree;
    RaiseMissing(u"Tree"_s, name);
}

wire::DateTime ServerDateTime()
{
    const QWidget* form = Application ? Application->MainForm() : nullptr;
    const double serverDays = form ? form->property("ServerDateTime").toDouble() : 0;
    return WithLocalSecond(serverDays, QTime::currentTime().second());
}

wire::DateTime WithLocalSecond(double serverDays, int localSecond)
{
    const QString minute = wire::DateTime::FromSerial(serverDays).Format(u"yyyy-mm-dd hh:nn");
    return wire::DateTime::Parse(minute + u':' + QString::number(localSecond)).value();
}
