#include "host/LoginWindow.h"

#include "runtime/ui/ScrollPane.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QGroupBox>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QColor kBannerColor(0x1f, 0x4e, 0x8c);
constexpr QColor kErrorColor(0xb0, 0x1e, 0x1e);

void SetTextColor(QWidget* widget, const QColor& color)
{
    QPalette palette = widget->palette();
    palette.setColor(QPalette::WindowText, color);
    widget->setPalette(palette);
}

// Product name over the fields. Painted by hand: a style sheet would cost the start more than it is worth.
class TBanner : public QWidget {
public:
    explicit TBanner(QWidget* parent)
        : QWidget(parent)
    {
        setFixedHeight(fontMetrics().height() * 4);
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.fillRect(rect(), kBannerColor);
        painter.setPen(Qt::white);
        const int line = fontMetrics().height();
        const QRect text = rect().adjusted(line * 3 / 2, 0, -line, 0);
        QFont title = font();
        title.setPixelSize(fontInfo().pixelSize() * 17 / 10);
        title.setBold(true);
        painter.setFont(title);
        painter.drawText(text.adjusted(0, 0, 0, -line), Qt::AlignVCenter | Qt::AlignLeft, u"快运业务系统"_s);
        painter.setFont(font());
        painter.drawText(
            text.adjusted(0, line * 2, 0, 0), Qt::AlignVCenter | Qt::AlignLeft, u"在线订单 · 网点客户端"_s);
    }
};

} // namespace

TLoginWindow::TLoginWindow()
{
    setObjectName(u"LoginWindow"_s);
    setProperty("guide", u"login"_s);
    setWindowTitle(u"登录 - 快运业务系统"_s);

    form_ = new QFormLayout;
    form_->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    form_->setHorizontalSpacing(10);
    form_->setVerticalSpacing(9);
    CreateWay();
    CreateAccount();
    const int margin = fontMetrics().height();
    auto* fields = new QWidget;
    auto* body = new QVBoxLayout(fields);
    body->setContentsMargins(margin * 3 / 2, margin, margin * 3 / 2, margin / 2);
    body->setSpacing(8);
    body->addLayout(form_);
    CreateAnswers(body);
    body->addStretch();
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(new TBanner(this));
    // On a low screen the fields scroll; the buttons are always there.
    layout->addWidget(new TScrollPane(fields), 1);
    QLayout* buttons = CreateButtons();
    buttons->setContentsMargins(margin * 3 / 2, margin / 2, margin * 3 / 2, margin);
    layout->addLayout(buttons);
    QSize size(margin * 33, margin * 27);
    // Without a display the pictures keep their size.
    if (QGuiApplication::platformName() != u"offscreen"_s)
        size = size.boundedTo(screen()->availableSize());
    resize(size);

    for (QWidget* first = accountEdit_;
         QWidget * next : std::initializer_list<QWidget*>{passwordEdit_, loginButton_, quitButton_,
             offeredList_, embeddedButton_, serverButton_, serverEdit_, tlsBox_, caEdit_, caButton_}) {
        setTabOrder(first, next);
        first = next;
    }
    accountEdit_->setFocus();
    ConnectControls();
    UpdateState();
}

void TLoginWindow::CreateWay()
{
    embeddedButton_ = new QRadioButton(u"本机数据库(&D)"_s);
    embeddedButton_->setObjectName(u"EmbeddedButton"_s);
    embeddedButton_->setChecked(true);
    serverButton_ = new QRadioButton(u"服务器(&S)"_s);
    serverButton_->setObjectName(u"ServerButton"_s);
    serverEdit_ = new QComboBox;
    serverEdit_->setObjectName(u"ServerEdit"_s);
    serverEdit_->setEditable(true);
    serverEdit_->setInsertPolicy(QComboBox::NoInsert);
    serverEdit_->setAccessibleName(u"服务器地址和端口"_s);
    serverEdit_->lineEdit()->setPlaceholderText(u"地址:端口；几台之间用逗号"_s);
    serverEdit_->setToolTip(
        u"如 192.168.1.10:8866。公司有几台服务器时写在一起，用逗号分开，一台停了自动换下一台。"_s);
    auto* place = new QHBoxLayout;
    place->addWidget(embeddedButton_);
    place->addWidget(serverButton_);
    place->addWidget(serverEdit_, 1);

    tlsBox_ = new QComboBox;
    tlsBox_->setObjectName(u"TlsBox"_s);
    tlsBox_->addItems({u"自动：出本机即加密"_s, u"总是加密"_s, u"不加密（仅限可信的内部网络）"_s});
    caEdit_ = new QLineEdit;
    caEdit_->setObjectName(u"CaEdit"_s);
    caEdit_->setPlaceholderText(u"系统信任的机构"_s);
    caEdit_->setAccessibleName(u"机构证书文件"_s);
    caEdit_->setToolTip(u"签发服务器证书的机构的证书（PEM文件），由管理员提供；不填则用系统信任的机构。"_s);
    caButton_ = new QPushButton(u"选择…"_s);
    caButton_->setObjectName(u"CaButton"_s);
    caButton_->setAutoDefault(false);
    caField_ = new QWidget;
    auto* caLayout = new QHBoxLayout(caField_);
    caLayout->setContentsMargins(0, 0, 0, 0);
    caLayout->addWidget(caEdit_, 1);
    caLayout->addWidget(caButton_);
    plainLabel_ = new QLabel(u"密码和订单将不加密地在网络上传送。"_s);
    plainLabel_->setObjectName(u"PlainLabel"_s);
    SetTextColor(plainLabel_, kErrorColor);

    form_->addRow(u"登录到"_s, place);
    form_->addRow(u"加密(&E)"_s, tlsBox_);
    form_->addRow(u"机构证书(&C)"_s, caField_);
    form_->addRow(QString(), plainLabel_);
    static_cast<QLabel*>(form_->labelForField(caField_))->setBuddy(caEdit_);
}

void TLoginWindow::CreateAccount()
{
    accountEdit_ = new QLineEdit;
    accountEdit_->setObjectName(u"AccountEdit"_s);
    accountEdit_->setMaxLength(64);
    passwordEdit_ = new QLineEdit;
    passwordEdit_->setObjectName(u"PasswordEdit"_s);
    passwordEdit_->setEchoMode(QLineEdit::Password);
    passwordEdit_->setMaxLength(128);
    form_->addRow(u"账号(&U)"_s, accountEdit_);
    form_->addRow(u"密码(&P)"_s, passwordEdit_);
}

void TLoginWindow::CreateAnswers(QVBoxLayout* body)
{
    errorLabel_ = new QLabel;
    errorLabel_->setObjectName(u"ErrorLabel"_s);
    errorLabel_->setWordWrap(true);
    errorLabel_->setAccessibleName(u"登录结果"_s);
    SetTextColor(errorLabel_, kErrorColor);
    stateLabel_ = new QLabel(u"正在打开本机数据库…"_s);
    stateLabel_->setObjectName(u"StateLabel"_s);
    stateLabel_->setWordWrap(true);
    progressBar_ = new QProgressBar;
    progressBar_->setObjectName(u"ProgressBar"_s);
    progressBar_->hide();

    offeredList_ = new QListWidget;
    offeredList_->setObjectName(u"OfferedList"_s);
    offeredList_->setAccessibleName(u"演示账号"_s);
    offeredBox_ = new QGroupBox(u"演示账号（单击填入，双击或回车登录）"_s);
    auto* offeredLayout = new QVBoxLayout(offeredBox_);
    offeredLayout->addWidget(offeredList_);
    offeredBox_->hide();

    remarkLabel_ = new QLabel;
    remarkLabel_->setObjectName(u"RemarkLabel"_s);
    remarkLabel_->setWordWrap(true);
    remarkLabel_->hide();

    body->addWidget(errorLabel_);
    body->addWidget(stateLabel_);
    body->addWidget(progressBar_);
    body->addWidget(offeredBox_, 1);
    body->addWidget(remarkLabel_);
}

QLayout* TLoginWindow::CreateButtons()
{
    loginButton_ = new QPushButton(u"登录(&L)"_s);
    loginButton_->setObjectName(u"LoginButton"_s);
    loginButton_->setDefault(true);
    quitButton_ = new QPushButton(u"退出(&X)"_s);
    quitButton_->setObjectName(u"QuitButton"_s);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    buttons->addStretch(1);
    buttons->addWidget(loginButton_);
    buttons->addWidget(quitButton_);
    return buttons;
}

void TLoginWindow::ConnectControls()
{
    connect(loginButton_, &QPushButton::clicked, this, &TLoginWindow::RequestLogin);
    connect(quitButton_, &QPushButton::clicked, this, &QWidget::close);
    connect(embeddedButton_, &QRadioButton::toggled, this, [this](bool chosen) {
        UpdateState();
        if (chosen)
            Q_EMIT EmbeddedChosen();
    });
    connect(serverEdit_->lineEdit(), &QLineEdit::textEdited, serverButton_,
        [this] { serverButton_->setChecked(true); });
    connect(serverEdit_, &QComboBox::currentTextChanged, this, &TLoginWindow::UpdateState);
    connect(tlsBox_, &QComboBox::currentIndexChanged, this, &TLoginWindow::UpdateState);
    connect(caButton_, &QPushButton::clicked, this, &TLoginWindow::ChooseCaFile);
    connect(offeredList_, &QListWidget::currentRowChanged, this, &TLoginWindow::TakeOffered);
    connect(
        offeredList_, &QListWidget::itemClicked, this, [this] { TakeOffered(offeredList_->currentRow()); });
    connect(offeredList_, &QListWidget::itemDoubleClicked, this, &TLoginWindow::RequestLogin);
}

void TLoginWindow::SetServers(const std::vector<TServerAddresses>& servers)
{
    for (const TServerAddresses& list : servers) {
        if (serverEdit_->findText(TextOf(list)) < 0)
            serverEdit_->addItem(TextOf(list));
    }
    serverEdit_->setCurrentIndex(servers.empty() ? -1 : 0);
}

void TLoginWindow::SetEncryption(TTlsUse tls, const QString& caFile)
{
    tlsBox_->setCurrentIndex(static_cast<int>(tls));
    caEdit_->setText(QDir::toNativeSeparators(caFile));
}

void TLoginWindow::ChooseServer(bool remote)
{
    (remote ? serverButton_ : embeddedButton_)->setChecked(true);
}

bool TLoginWindow::UsesEmbedded() const
{
    return embeddedButton_->isChecked();
}

void TLoginWindow::SetAccount(const QString& account)
{
    accountEdit_->setText(account);
    (account.isEmpty() ? accountEdit_ : passwordEdit_)->setFocus();
}

void TLoginWindow::OfferAccounts(const std::vector<TOfferedAccount>& accounts)
{
    offered_ = accounts;
    const QSignalBlocker quiet(offeredList_);
    offeredList_->clear();
    for (const TOfferedAccount& offered : accounts)
        offeredList_->addItem(offered.account + u"　"_s + offered.description);
    UpdateState();
}

void TLoginWindow::ShowPreparing(const QString& stage, int percent)
{
    embeddedReady_ = databaseFailed_ = false;
    stateLabel_->setText(stage);
    progressBar_->setValue(percent);
    UpdateState();
    progressBar_->setVisible(embeddedButton_->isChecked());
}

void TLoginWindow::ShowReady()
{
    embeddedReady_ = true;
    databaseFailed_ = false;
    stateLabel_->clear();
    UpdateState();
}

void TLoginWindow::ShowUnavailable(const QString& message)
{
    embeddedReady_ = false;
    databaseFailed_ = true;
    stateLabel_->setText(u"本机数据库打不开："_s + message);
    UpdateState();
}

void TLoginWindow::ShowRemark(const QString& text)
{
    remarkLabel_->setText(text);
    remarkLabel_->show();
}

void TLoginWindow::SetBusy(bool busy)
{
    busy_ = busy;
    if (busy)
        errorLabel_->clear();
    loginButton_->setText(busy ? u"正在登录…"_s : u"登录(&L)"_s);
    UpdateState();
}

void TLoginWindow::ShowError(const QString& message)
{
    errorLabel_->setText(message);
    passwordEdit_->selectAll();
    passwordEdit_->setFocus();
}

void TLoginWindow::Reset()
{
    passwordEdit_->clear();
    errorLabel_->clear();
    passwordEdit_->setFocus();
}

void TLoginWindow::paintEvent(QPaintEvent* event)
{
    QWidget::paintEvent(event);
    if (painted_)
        return;
    painted_ = true;
    // What follows the first picture waits until that is on the screen.
    QTimer::singleShot(0, this, &TLoginWindow::FirstPainted);
}

void TLoginWindow::closeEvent(QCloseEvent* event)
{
    event->accept();
    Q_EMIT Closed();
}

void TLoginWindow::keyPressEvent(QKeyEvent* event)
{
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (event->key() == Qt::Key_Escape)
        close();
    else if (isEnter && accountEdit_->hasFocus())
        GoOnToPassword();
    else if (isEnter)
        RequestLogin();
    else
        QWidget::keyPressEvent(event);
}

void TLoginWindow::GoOnToPassword()
{
    if (IsMissing(accountEdit_, u"请输入账号。"_s))
        return;
    errorLabel_->clear();
    passwordEdit_->selectAll();
    passwordEdit_->setFocus();
}

bool TLoginWindow::IsMissing(QLineEdit* field, const QString& hint)
{
    const bool missing = field->text().isEmpty();
    if (missing) {
        errorLabel_->setText(hint);
        field->setFocus();
    }
    return missing;
}

void TLoginWindow::RequestLogin()
{
    if (!loginButton_->isEnabled() || IsMissing(accountEdit_, u"请输入账号。"_s)
        || IsMissing(passwordEdit_, u"请输入密码。"_s))
        return;
    std::optional<TConnectOptions> way;
    if (serverButton_->isChecked()) {
        auto servers = ParseServerAddresses(serverEdit_->currentText());
        if (!servers) {
            errorLabel_->setText(u"请输入服务器的地址和端口，如 192.168.1.10:8866；几台之间用逗号分开。"_s);
            serverEdit_->setFocus();
            return;
        }
        way = WayTo(std::move(*servers));
    }
    Q_EMIT LoginRequested(accountEdit_->text().trimmed(), passwordEdit_->text(), way);
}

TConnectOptions TLoginWindow::WayTo(TServerAddresses addresses) const
{
    TConnectOptions way;
    way.addresses = std::move(addresses);
    way.tls = static_cast<TTlsUse>(tlsBox_->currentIndex());
    way.caFile = QDir::fromNativeSeparators(caEdit_->text().trimmed());
    return way;
}

void TLoginWindow::ChooseCaFile()
{
    const QString file = QFileDialog::getOpenFileName(this, u"选择机构证书"_s,
        QFileInfo(WayTo({}).caFile).path(), u"证书 (*.pem *.crt *.cer);;所有文件 (*)"_s);
    if (!file.isEmpty())
        caEdit_->setText(QDir::toNativeSeparators(file));
}

void TLoginWindow::TakeOffered(int row)
{
    if (row < 0 || row >= static_cast<int>(offered_.size()))
        return;
    accountEdit_->setText(offered_[row].account);
    passwordEdit_->setText(offered_[row].password);
}

void TLoginWindow::UpdateState()
{
    const bool embedded = embeddedButton_->isChecked();
    for (QWidget* field : std::initializer_list<QWidget*>{
             embeddedButton_, serverButton_, accountEdit_, passwordEdit_, offeredList_})
        field->setEnabled(!busy_);
    serverEdit_->setEnabled(!busy_);
    tlsBox_->setEnabled(!busy_);
    caField_->setEnabled(!busy_);
    const auto servers = ParseServerAddresses(serverEdit_->currentText());
    const TConnectOptions way = WayTo(servers.value_or(TServerAddresses()));
    form_->setRowVisible(tlsBox_, !embedded);
    form_->setRowVisible(caField_, !embedded && way.tls != TTlsUse::Never);
    form_->setRowVisible(plainLabel_,
        !embedded && way.tls == TTlsUse::Never
            && std::any_of(way.addresses.begin(), way.addresses.end(),
                [](const TServerAddress& address) { return !address.IsLoopback(); }));
    loginButton_->setEnabled(!busy_ && (!embedded || embeddedReady_));
    stateLabel_->setVisible(embedded && !stateLabel_->text().isEmpty());
    if (!embedded || embeddedReady_ || databaseFailed_)
        progressBar_->hide();
    offeredBox_->setVisible(embedded && embeddedReady_ && !offered_.empty());
}
