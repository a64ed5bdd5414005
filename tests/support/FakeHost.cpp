#include "tests/support/FakeHost.h"

#include <QMdiArea>

using namespace Qt::Literals::StringLiterals;

TFakeMainForm::TFakeMainForm()
{
    setCentralWidget(new QMdiArea(this));
    resize(1000, 700);
}

std::vector<int> TFakeMainForm::MessageNumbers() const
{
    std::vector<int> numbers;
    for (const TMessage& message : Messages)
        numbers.push_back(message.number);
    return numbers;
}

bool TFakeMainForm::event(QEvent* event)
{
    const int number = event->type();
    if (number == kMessageActivated || number == kMessageClosed || number == kMessageCreating) {
        const auto* message = static_cast<TFormMessage*>(event);
        Messages.push_back({number, message->First(), message->Second()});
        return true;
    }
    return QMainWindow::event(event);
}

TFakeHost::TFakeHost()
    : applicationBefore_(Application)
    , screenBefore_(Screen)
{
    Application = &App;
    Screen = &Scr;
    App.SetMainForm(&MainForm);
    App.SetExeName(Folder.filePath(u"zelmor-host"_s));
    App.Unattended = true;
    MainForm.ServerDays = wire::DateTime::FromParts(2024, 1, 31, 10, 59).ToSerial();
    for (TSocketConnectionEx* connection : {&Connection, &Connection2}) {
        connection->SetTransport(Server.MakeTransport());
        connection->Open(u"test"_s, u"test"_s);
    }
    Server.Requests.clear();

    SetValue(u"site"_s, u"浦东一部"_s);
    SetValue(u"EmployeeName"_s, u"李雷"_s);
    SetValue(u"EmployeeCode"_s, u"E001"_s);
    AddDataSet(u"loginSite"_s,
        MakeTextRows({u"SITE_NAME"_s, u"TYPE"_s, u"PHONE"_s, u"SUPERIOR_SITE"_s, u"AREA_NAME"_s},
            {{u"浦东一部"_s, u"网点"_s, u"021-5000"_s, u"上海中心"_s, u"华东区"_s}}));
    const QStringList siteColumns = {u"SITE_CODE"_s, u"SITE_NAME"_s, u"SUPERIOR_SITE"_s};
    AddDataSet(u"AllSite"_s,
        MakeTextRows(siteColumns,
            {{u"0000"_s, u"快运本部"_s, {}}, {u"2100"_s, u"上海中心"_s, u"快运本部"_s},
                {u"2101"_s, u"浦东一部"_s, u"上海中心"_s}, {u"2102"_s, u"浦东二部"_s, u"上海中心"_s}}));
    AddDataSet(u"loginSiteOwner"_s,
        MakeTextRows(siteColumns,
            {{u"2101"_s, u"浦东一部"_s, u"上海中心"_s}, {u"2102"_s, u"浦东二部"_s, u"上海中心"_s}}));
    const QStringList employeeColumns = {u"EMPLOYEE_CODE"_s, u"EMPLOYEE_NAME"_s, u"OWNER_SITE"_s, u"PHONE"_s};
    const std::vector<QStringList> employees = {{u"E001"_s, u"李雷"_s, u"浦东一部"_s, u"13800000001"_s},
        {u"E002"_s, u"韩梅梅"_s, u"浦东一部"_s, u"13800000002、021-5001"_s}};
    AddDataSet(u"loginSiteEmployeeOwner"_s, MakeTextRows(employeeColumns, employees));
    AddDataSet(u"loginSiteEmployeeOwnerAll"_s, MakeTextRows(employeeColumns, employees));
    AddDataSet(u"ownerCustomer"_s,
        MakeTextRows({u"CUSTOMER_CODE"_s, u"CUSTOMER_NAME"_s}, {{u"C001"_s, u"晨光文具店"_s}}));
    AddDataSet(u"Province_N"_s, MakeTextRows({u"PROVINCE"_s}, {{u"上海"_s}, {u"江苏"_s}}));
    AddDataSet(u"City_N"_s, MakeTextRows({u"PROVINCE"_s, u"CITY_NAME"_s}, {{u"上海"_s, u"上海市"_s}}));
    AddDataSet(
        u"County_N"_s, MakeTextRows({u"CITY_NAME"_s, u"COUNTY_NAME"_s}, {{u"上海市"_s, u"浦东新区"_s}}));
}

TFakeHost::~TFakeHost()
{
    // Screens go before what they stand on.
    const std::vector<TForm*> forms = Scr.Forms();
    for (TForm* form : forms)
        delete form;
    Application = applicationBefore_;
    Screen = screenBefore_;
}

TClientDataSetEx& TFakeHost::AddDataSet(const QString& name, wire::RowSet rows)
{
    auto* dataSet = new TClientDataSetEx(&MainForm, name);
    dataSet->OpenRows(std::move(rows));
    MainForm.DataSets.push_back(dataSet);
    return *dataSet;
}

void TFakeHost::SetValue(const QString& name, const QString& text)
{
    for (QObject* item : MainForm.Values) {
        if (item->objectName() == name) {
            item->setProperty("text", text);
            return;
        }
    }
    auto* edit = new QLineEdit(text, &MainForm);
    edit->setObjectName(name);
    edit->hide();
    MainForm.Values.push_back(edit);
}

TClientDataSetEx& TFakeHost::DataSet(const QString& name)
{
    for (QObject* item : MainForm.DataSets) {
        if (item->objectName() == name)
            return *qobject_cast<TClientDataSetEx*>(item);
    }
    throw wire::Error(wire::ErrorKind::Usage, name);
}

std::vector<std::uintptr_t> TFakeHost::HostData()
{
    return {reinterpret_cast<std::uintptr_t>(&Connection), reinterpret_cast<std::uintptr_t>(&Connection2)};
}

QStringList TFakeHost::TakeMessages()
{
    QStringList texts;
    for (const TShownMessage& message : App.ShownMessages())
        texts += message.text;
    App.ClearShownMessages();
    return texts;
}
