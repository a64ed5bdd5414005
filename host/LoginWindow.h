#pragma once

#include "host/HostOptions.h"

#include <QWidget>

#include <optional>
#include <vector>

class QCloseEvent;
class QComboBox;
class QFormLayout;
class QGroupBox;
class QLabel;
class QLayout;
class QLineEdit;
class QListWidget;
class QProgressBar;
class QPushButton;
class QRadioButton;
class QVBoxLayout;

// An account that may be taken from a list instead of being typed.
struct TOfferedAccount {
    QString account;
    QString password;
    QString description;
};

// Asks who the user is and which server to work with. Knows no server: it says what was asked for and shows
// what it is told.
class TLoginWindow : public QWidget {
    Q_OBJECT
    Q_PROPERTY(bool databaseFailed READ DatabaseFailed)
public:
    TLoginWindow();

    void SetServers(const std::vector<TServerAddresses>& servers);
    void SetEncryption(TTlsUse tls, const QString& caFile);
    void ChooseServer(bool remote);
    bool UsesEmbedded() const;
    void SetAccount(const QString& account);
    void OfferAccounts(const std::vector<TOfferedAccount>& accounts);

    // The embedded database: being opened or filled (0 to 100), ready, or not to be had.
    void ShowPreparing(const QString& stage, int percent);
    void ShowReady();
    void ShowUnavailable(const QString& message);
    bool DatabaseFailed() const noexcept { return databaseFailed_; }
    // A remark that stays, such as missing fonts.
    void ShowRemark(const QString& text);

    // While a login is being tried nothing can be changed.
    void SetBusy(bool busy);
    bool IsBusy() const noexcept { return busy_; }
    void ShowError(const QString& message);
    // Empties the password for the next user.
    void Reset();

Q_SIGNALS:
    // `way` is nullopt for the embedded database.
    void LoginRequested(
        const QString& account, const QString& password, const std::optional<TConnectOptions>& way);
    void EmbeddedChosen();
    void Closed();
    // The window has been on the screen for the first time.
    void FirstPainted();

protected:
    void paintEvent(QPaintEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void CreateWay();
    void CreateAccount();
    void CreateAnswers(QVBoxLayout* body);
    QLayout* CreateButtons();
    void ConnectControls();
    void GoOnToPassword();
    // An empty field gets the cursor, and the user the hint.
    bool IsMissing(QLineEdit* field, const QString& hint);
    void RequestLogin();
    void TakeOffered(int row);
    void ChooseCaFile();
    TConnectOptions WayTo(TServerAddresses addresses) const;
    void UpdateState();

    QRadioButton* embeddedButton_;
    QRadioButton* serverButton_;
    QComboBox* serverEdit_;
    QFormLayout* form_;
    QComboBox* tlsBox_; // in the order of TTlsUse
    QWidget* caField_;
    QLineEdit* caEdit_;
    QPushButton* caButton_;
    QLabel* plainLabel_; // says that nothing is encrypted
    QLineEdit* accountEdit_;
    QLineEdit* passwordEdit_;
    QLabel* errorLabel_;
    QLabel* stateLabel_;
    QProgressBar* progressBar_;
    QGroupBox* offeredBox_;
    QListWidget* offeredList_;
    QLabel* remarkLabel_;
    QPushButton* loginButton_;
    QPushButton* quitButton_;
    std::vector<TOfferedAccount> offered_;
    bool busy_ = false;
    bool embeddedReady_ = false;
    bool databaseFailed_ = false;
    bool painted_ = false;
};
