#include "framework/frm_BasicBoot.h"

#include "framework/LastCriteria.h"
#include "module/data/LayoutStorage.h"

using namespace Qt::Literals::StringLiterals;

Tfrm_BasicBoot::Tfrm_BasicBoot(QObject* owner)
    : Tfrm_Basic(owner)
    , Prop(new TPropStorageEh(this, u"Prop"_s))
{
}

void Tfrm_BasicBoot::FormCreate()
{
    Tfrm_Basic::FormCreate();
    Prop->SetStorageManager(LayoutStorage);
}

void Tfrm_BasicBoot::showEvent(QShowEvent* event)
{
    if (!loaded_) {
        if (Prop->Active)
            Prop->Load();
        TLastCriteria::For(*this);
    }
    loaded_ = true;
    Tfrm_Basic::showEvent(event);
}

TCloseAction Tfrm_BasicBoot::FormClose()
{
    const TCloseAction action = Tfrm_Basic::FormClose();
    if (action == TCloseAction::Free && Prop->Active)
        Prop->Save();
    return action;
}
