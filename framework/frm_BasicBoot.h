#pragma once

#include "framework/frm_Basic.h"
#include "runtime/ui/PropStorage.h"

// A screen that can remember settings: a descendant switches Prop on and lists the properties to store.
class Tfrm_BasicBoot : public Tfrm_Basic {
    Q_OBJECT
public:
    explicit Tfrm_BasicBoot(QObject* owner);

    TPropStorageEh* Prop; // inactive here; loaded before the first show, saved on close when active

protected:
    void FormCreate() override;
    TCloseAction FormClose() override;
    void showEvent(QShowEvent* event) override;

private:
    bool loaded_ = false;
};
