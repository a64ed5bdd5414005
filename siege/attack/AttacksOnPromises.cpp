// Attacks on what the server promises: who may log in, what is stored, once, by whom, and where.

#include "siege/attack/Attacks.h"

#include "demo/Generator.h"
#include "tests/support/TestAuthority.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QTcpServer>

#include <mutex>

using namespace Qt::Literals::StringLiterals;
using wire::Error;
using wire::ErrorKind;

namespace attack {
namespace {

const QString kColumns = u"TX_LOGISTIC_ID,STATUS,REC_SITE,PREPARE_SITE,REMARK,MODIFIER,MODIFY_CODE,MODIFY_"
                         u"SITE,CANCEL_MAN,CREATER_MAN,"
                         "CANCEL_DESC,CREATE_DATE,CREATER_SITE"_s;

const QString kQuery = u"select %1 from tab_zelmor_bill"_s.arg(kColumns);

bool WasLookedAt(const Answer& answer)
{
    return answer.kind == ErrorKind::Login && !answer.reason.contains(u"次数过多");
}

Answer Guess(Target& target, const QString& from, const QString& account)
{
    try {
        return Attacker(target.Port(), from).Ask(Login(account, u"guess"_s));
    } catch (const Error& error) {
        return {.reason = error.Message()};
    }
}

// Of a server that must not come up; empty where it did.
QString WhyNotStarted(const QStringList& arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QCoreApplication::applicationDirPath() + u"/zelmor-server"_s,
        QStringList{u"--listen"_s, u"127.0.0.1:0"_s} + arguments);
    const bool ended = process.waitForFinished(4'000);
    process.kill();
    process.waitForFinished();
    return ended ? QString::fromUtf8(process.readAll()).trimmed().section(u'\n', -1) : QString();
}

bool Speaks(int port, QSsl::SslProtocol protocol, const QString& ciphers)
{
    QSslConfiguration configuration;
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
    configuration.setProtocol(protocol);
    if (!ciphers.isEmpty())
        configuration.setCiphers(ciphers);
    QSslSocket socket;
    socket.setSslConfiguration(configuration);
    socket.connectToHostEncrypted(u"127.0.0.1"_s, quint16(port));
    return socket.waitForEncrypted(5'000);
}

struct Forgery {
    QString account;
    QString order; // which one, in SQL
    std::vector<std::pair<QString, wire::Value>> edits;
};

const QString kOwn = u"PREPARE_SITE = ';安徽合肥一部;' and STATUS = 0"_s; // of hefei1

const std::vector<Forgery>& Forgeries()
{
    static const std::vector<Forgery> forgeries{
        {u"hefei"_s, u"STATUS = 6 and REC_SITE not like '安徽%'"_s, {{u"STATUS"_s, qint64(4)}}},
        {u"hefei1"_s, kOwn, {{u"MODIFIER"_s, u"别人"_s}}},
        {u"hefei1"_s, kOwn, {{u"MODIFY_CODE"_s, u"E999"_s}}},
        {u"hefei1"_s, kOwn, {{u"CREATER_MAN"_s, u"别人"_s}}},
        {u"hefei1"_s, kOwn, {{u"CANCEL_MAN"_s, u"别人"_s}}},
        {u"hefei1"_s, kOwn, {{u"STATUS"_s, qint64(99'999)}}},
        {u"hefei1"_s, kOwn, {{u"CREATE_DATE"_s, wire::DateTime{0}}}},
        {u"hefei1"_s, kOwn, {{u"REC_SITE"_s, u"没有这个网点"_s}}},
        {u"hefei1"_s, kOwn, {{u"PREPARE_SITE"_s, u";没有这个网点;"_s}}},
        {u"hefei1"_s, u"REC_SITE = '安徽合肥二部'"_s, {{u"REMARK"_s, u"x"_s}}},
        {u"benbu"_s, u"STATUS = 0"_s, {{u"STATUS"_s, qint64(99'999)}}},
        {u"hefei1"_s, kOwn, {{u"STATUS"_s, qint64(2)}, {u"CANCEL_DESC"_s, u"超规格"_s}}}, // unsigned
        {u"hefei1"_s, kOwn, {{u"REC_SITE"_s, u"安徽合肥一部"_s}}},
    };
    return forgeries;
}

// An order that another has changed last, with its stamps left as they are.
bool SignsByItself(Target& target, quint64& number)
{
    const QString query = kQuery + u" where %1 order by TX_LOGISTIC_ID"_s.arg(kOwn);
    const auto isSigned = [&](const QString& account) {
        Attacker desk(target.Port(), u"127.0.0.8"_s);
        const wire::Identity who = desk.LogIn(account);
        desk.Ask(Save(kQuery, desk.Ask(Query(query)).rows, 0, {{u"REMARK"_s, account}}, ++number));
        const wire::RowSet rows = desk.Ask(Query(query)).rows;
        return wire::ToText(rows.columns[size_t(rows.IndexOf(u"MODIFIER"))].ValueAt(0)) == who.employeeName;
    };
    return isSigned(u"benbu"_s) && isSigned(u"hefei1"_s);
}

} // namespace

Result GuessPasswords(Target& target, bool brief)
{
    QElapsedTimer time;
    time.start();
    // Invented names must not make the guesses forgotten; the guard's own test invents thirty times as many.
    const int names = brief ? 100 : 1'000;
    std::atomic<int> name{0};
    int looked = 0;
    {
        std::vector<std::jthread> inventors;
        inventors.reserve(4);
        for (int i = 0; i < 4; ++i)
            inventors.emplace_back([&] {
                for (int n = name++; n < names; n = name++) // twenty of an address are looked at
                    Guess(target, u"127.0.%1.%2"_s.arg(1 + n / 5'000).arg(1 + n / 20 % 250),
                        u"nobody%1"_s.arg(n));
            });
        while (name < names) {
            looked += WasLookedAt(Guess(target, u"127.0.0.4"_s, u"benbu"_s)) ? 1 : 0;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    }
    // Three, and one more whenever a wait is over that doubles up to five minutes.
    int allowed = 3;
    double wait = 1;
    for (double left = double(time.elapsed()) / 1000; left >= wait; wait = std::min(2 * wait, 300.0)) {
        left -= wait;
        ++allowed;
    }
    // Nor does it help to ask for many at once.
    std::atomic<int> together{0};
    {
        const int guesses = brief ? 60 : 300;
        std::vector<std::jthread> threads;
        threads.reserve(size_t(guesses));
        for (int i = 0; i < guesses; ++i)
            threads.emplace_back([&, i] {
                together += WasLookedAt(Guess(target, u"127.0.0.6"_s, u"clerk%1"_s.arg(i))) ? 1 : 0;
            });
    }
    time.start();
    bool honest = true;
    try {
        Attacker(target.Port(), u"127.0.0.1"_s).LogIn(u"xuancheng"_s);
    } catch (const Error&) {
        honest = false;
    }
    return {looked <= allowed && together <= 21 && honest && time.elapsed() < 4'000,
        u"%1 guesses of one password were looked at among %2 invented names, %3 of many at once; an honest "
        "login took %4 s"_s.arg(looked)
            .arg(names)
            .arg(together.load())
            .arg(double(time.elapsed()) / 1000, 0, 'f', 2)};
}

Result SaveTwice(Target& target, bool /*brief*/)
{
    Attacker desk(target.Port(), u"127.0.0.7"_s);
    desk.LogIn(u"benbu"_s);
    const wire::RowSet rows = desk.Ask(Query(kQuery + u" where STATUS = 0"_s)).rows;
    const wire::Request first = Save(kQuery, rows, 0, {{u"REMARK"_s, u"first"_s}}, 1);
    const Answer once = desk.Ask(first);
    const Answer twice = desk.Ask(first);
    const Answer other = desk.Ask(Save(kQuery, rows, 1, {{u"REMARK"_s, u"other"_s}}, 1));
    // One good row, and more refused ones than a reply can hold.
    wire::Request large = Save(kQuery, rows, 1, {{u"REMARK"_s, u"large"_s}}, 2);
    wire::RowChange bad = Save(kQuery, rows, 0, {{u"REMARK"_s, u"bad"_s}}, 2).changes.rows.front();
    bad.cells[1].original = qint64(-7);
    large.changes.columns.resize(1'000, {u"Z"_s, wire::ColumnType::Text});
    large.changes.rows.resize(6'000, bad);
    const Answer tooLarge = desk.Ask(large, true);
    const QString remarks =
        u"select count(*) N from tab_zelmor_bill where REMARK in ('other','large','bad')"_s;
    const qint64 stored = desk.Ask(Query(remarks)).rows.columns.front().IntegerAt(0);
    const bool told = once.accepted && twice.accepted
        && once.reply.outcome.rows.front().accepted == twice.reply.outcome.rows.front().accepted
        && once.reply.outcome.rows.front().accepted;
    return {told && !other.accepted && !tooLarge.accepted && stored == 0,
        u"sent again: %1; another content under the name: %2; too much to be answered: %3; stored of it: %4"_s
            .arg(told ? u"answered as before"_s : u"answered otherwise"_s,
                other.accepted ? u"ACCEPTED"_s : u"refused"_s,
                tooLarge.accepted ? u"ACCEPTED"_s : u"refused"_s)
            .arg(stored)};
}

// Desks that leave as soon as they have sent, or a little later, and ask again what became of it.
Result LeaveWhileSaving(Target& target, bool brief)
{
    const int saves = brief ? 5 : 40; // of each
    const QString query =
        kQuery + u" where STATUS = 0 and PREPARE_SITE = ';安徽合肥二部;' order by TX_LOGISTIC_ID"_s;
    std::mutex mutex;
    QStringList wrong;
    {
        std::vector<std::jthread> desks;
        desks.reserve(4);
        for (int desk = 0; desk < 4; ++desk)
            desks.emplace_back([&, desk] {
                try {
                    for (int i = 1; i <= saves; ++i) {
                        auto leaving = std::make_unique<Attacker>(target.Port(), u"127.0.0.9"_s);
                        leaving->LogIn(u"hefei2"_s);
                        const wire::RowSet rows = leaving->Ask(Query(query)).rows;
                        if (rows.RowCount() <= desk)
                            throw Error(ErrorKind::Data, u"too few orders"_s);
                        const wire::Request save = Save(kQuery, rows, desk,
                            {{u"REMARK"_s, QString::number(i)}}, quint64(10'000 * (desk + 1) + i));
                        leaving->Send(wire::EncodeRequest(save, 9));
                        std::this_thread::sleep_for(std::chrono::microseconds(i % 5 * 400));
                        leaving.reset();
                        Attacker again(target.Port(), u"127.0.0.9"_s);
                        again.LogIn(u"hefei2"_s);
                        const Answer answer = again.Ask(save);
                        const wire::RowSet now = again.Ask(Query(query)).rows;
                        const bool stored =
                            wire::ToText(now.columns[size_t(now.IndexOf(u"REMARK"))].ValueAt(desk))
                            == QString::number(i);
                        if (answer.accepted && answer.reply.outcome.Rejected() == 0 && stored)
                            continue;
                        const std::lock_guard lock(mutex);
                        wrong += u"save %1: %2"_s.arg(i).arg(
                            answer.accepted ? u"refused its own row"_s : answer.reason);
                    }
                } catch (const Error& error) {
                    const std::lock_guard lock(mutex);
                    wrong += error.Message();
                }
            });
    }
    return {wrong.isEmpty(),
        u"%1 saves of desks that left at once, asked for again: %2"_s.arg(4 * saves).arg(
            wrong.isEmpty() ? u"each stored once"_s : wrong.join(u", "))};
}

Result WriteWhatIsOthers(Target& target, bool /*brief*/)
{
    int refused = 0;
    QStringList through;
    quint64 number = 100;
    for (const Forgery& forgery : Forgeries()) {
        Attacker attacker(target.Port(), u"127.0.0.8"_s);
        attacker.LogIn(forgery.account);
        const wire::RowSet rows = attacker.Ask(Query(kQuery + u" where "_s + forgery.order)).rows;
        if (rows.RowCount() == 0) {
            through += u"no order where "_s + forgery.order;
            continue;
        }
        const Answer answer = attacker.Ask(Save(kQuery, rows, 0, forgery.edits, ++number));
        if (!answer.accepted) // as a whole, for another reason
            through += answer.reason;
        else if (answer.reply.outcome.Rejected() == 0)
            through += forgery.account + u' ' + forgery.edits.front().first;
        else
            ++refused;
    }
    if (SignsByItself(target, number))
        ++refused;
    else
        through += u"a change under the stamps of another"_s;
    for (const QString& text : {u"delete from tab_zelmor_bill"_s, u"select * from zelmor_account"_s,
             u"update zelmor_audit set ACCOUNT='x'"_s, u"update tab_zelmor_bill set STATUS = 1"_s}) {
        Attacker attacker(target.Port(), u"127.0.0.8"_s);
        attacker.LogIn(u"hefei1"_s);
        if (attacker.Ask(Query(text)).accepted || attacker.Ask(Execute(text)).accepted)
            through += text;
        else
            ++refused;
    }
    return {through.isEmpty(),
        u"%1 forgeries refused%2"_s.arg(refused).arg(
            through.isEmpty() ? QString() : u"; through: "_s + through.join(u", "))};
}

Result MisplaceFilesAndKeys(Target& target, bool /*brief*/)
{
    QStringList wrong;
    const QFileDevice::Permissions others =
        QFileDevice::ReadGroup | QFileDevice::ReadOther | QFileDevice::WriteGroup | QFileDevice::WriteOther;
    const QDir data(target.Folder().filePath(u"data"_s));
    for (const QFileInfo& file : data.entryInfoList(QDir::Files)) {
        if (file.permissions() & others)
            wrong += file.fileName() + u" is not for its owner alone"_s;
    }
    const QTemporaryDir folder;
    const auto folderWith = [&](const QString& name, const QByteArray& database) {
        const QString path = folder.filePath(name);
        QDir().mkpath(path);
        QFile file(path + u"/zelmor.db"_s);
        if (file.open(QIODevice::WriteOnly))
            file.write(database);
        return path;
    };
    if (WhyNotStarted({u"--data"_s, folderWith(u"empty"_s, {})}).isEmpty())
        wrong += u"a file of no bytes became a database"_s;
    if (WhyNotStarted({u"--data"_s, folderWith(u"alien"_s, QByteArray(8192, 'x'))}).isEmpty())
        wrong += u"a file that is no database was taken for one"_s;
    TestAuthority authority;
    const auto tls = [](const TestAuthority::Files& files) {
        return QStringList{u"--tls-certificate"_s, files.certificates, u"--tls-key"_s, files.key};
    };
    if (WhyNotStarted(
            QStringList{u"--data"_s, folder.filePath(u"a"_s)} + tls(authority.Issue(u"IP:127.0.0.1"_s, -1)))
            .isEmpty())
        wrong += u"served with an expired certificate"_s;
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    const int port = probe.serverPort();
    probe.close();
    QProcess encrypted;
    encrypted.setProcessChannelMode(QProcess::MergedChannels);
    encrypted.start(QCoreApplication::applicationDirPath() + u"/zelmor-server"_s,
        QStringList{u"--data"_s, folder.filePath(u"b"_s), u"--listen"_s, u"127.0.0.1:%1"_s.arg(port)}
            + tls(authority.Issue()));
    QByteArray log;
    while (!log.contains("event=listening") && encrypted.waitForReadyRead(20'000))
        log += encrypted.readAll();
    if (!Speaks(port, QSsl::TlsV1_2, u"ECDHE-ECDSA-AES128-GCM-SHA256"_s))
        wrong += u"TLS 1.2 as it should be is not spoken"_s;
    if (Speaks(port, QSsl::TlsV1_2, u"ECDHE-ECDSA-AES128-SHA"_s))
        wrong += u"speaks CBC with SHA1"_s;
    if (Speaks(port, QSsl::TlsV1_2, u"AES128-GCM-SHA256"_s))
        wrong += u"speaks without forward secrecy"_s;
    encrypted.kill();
    encrypted.waitForFinished();
    return {wrong.isEmpty(),
        wrong.isEmpty() ? u"files for their owner alone; unfit files, certificates and ciphers refused"_s
                        : wrong.join(u"; ")};
}

} // namespace attack
