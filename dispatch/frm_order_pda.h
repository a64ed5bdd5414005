#pragma once

#include "dispatch/EntryForm.h"
#include "dispatch/ImportModule.h"
#include "framework/DataView.h"
#include "framework/frm_BasicBoot.h"

#include <optional>

// 订单录入: a site enters pickup orders by hand, as they come in by telephone, or from a spreadsheet.
class Tfrm_order_pda : public Tfrm_BasicBoot {
    Q_OBJECT
public:
    explicit Tfrm_order_pda(QObject* owner);

protected:
    void CreateControls() override;
    void FormCreate() override;
    void FirstLoad() override;
    void FormShow() override;
    TCloseAction FormClose() override;

private:
    void CreateView();
    void BindHandlers();

    void BTN_SAVEClick();
    void DBLookupComboboxEh1Exit();
    void btn_ExcelClick();
    void AddButtonClick();
    void CUSTOMER_NAMEEdited();
    void CUSTOMER_NAMEExit();
    void REC_GOODS_MANChange();
    void PROVChange();
    void CITYChange();
    void SEND_PROVChange();
    void SEND_CITYChange();
    void CDS_ORDER_PDAAfterInsert();
    void CDS_ORDER_PDABeforePost();
    void CDS_ORDER_PDAAfterPost();

    // By the number rule; what is entered meanwhile keeps its provisional number.
    void FindNextOrderNo();
    void NumberOrders();
    bool FindCustomer(const QString& name);
    void OfferPayment(bool customerKnown);
    // As for a caller of whom nothing is known yet: every region, every way to pay.
    void ForgetCaller();
    void ShowHint();

    TEntryForm* form_ = nullptr;
    TDataView* DataView1 = nullptr; // the orders entered

    TClientDataSetEx* CDS_ORDER_PDA; // the orders being entered
    TClientDataSetEx* cds_loginsiteowner_employee; // the couriers
    TDataSource* dsOrder;
    TDataSource* dsCourier;

    QString NextOrderNo; // of the next row inserted
    bool BigCustomerSite = false;
    TImportModule import_;
    QStringList payChoices_; // that the form opens with
    QHash<TBookmark, std::optional<wire::DateTime>> givenTimes_; // by row: appointments that nobody asked for
    bool unanswered_ = false; // whether the last save was stored is not known
};
