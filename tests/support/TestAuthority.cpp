#include "tests/support/TestAuthority.h"

#include "wire/Error.h"

#include <QFile>
#include <QProcess>

using namespace Qt::Literals::StringLiterals;

namespace {

void OpenSsl(const QString& arguments)
{
    QProcess process;
    process.start(u"openssl"_s, arguments.split(u' '));
    if (!process.waitForFinished(30'000) || process.exitStatus() != QProcess::NormalExit
        || process.exitCode() != 0)
        throw wire::Error(wire::ErrorKind::Usage,
            u"openssl %1: %2"_s.arg(arguments, QString::fromLocal8Bit(process.readAllStandardError())));
}

const QString kNewKey = u"req -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes"_s;

} // namespace

TestAuthority::TestAuthority()
{
    OpenSsl(kNewKey
        + u" -x509 -days 30 -subj /CN=Authority -keyout %1/ca.key -out %1/ca.pem"_s.arg(folder_.path()));
}

TestAuthority::Files TestAuthority::Issue(const QString& names, int days)
{
    const QString base = folder_.filePath(u"server%1"_s.arg(++issued_));
    QFile extensions(base + u".ext"_s);
    if (!extensions.open(QFile::WriteOnly)
        || extensions.write("subjectAltName=" + names.toLatin1() + '\n') < 0)
        throw wire::Error(wire::ErrorKind::Usage, extensions.errorString());
    extensions.close();
    OpenSsl(kNewKey + u" -subj /CN=server%2 -keyout %1.key -out %1.csr"_s.arg(base).arg(issued_));
    OpenSsl(
        u"x509 -req -in %1.csr -CA %2/ca.pem -CAkey %2/ca.key -CAcreateserial -days %3 -extfile %1.ext -out %1.pem"_s
            .arg(base, folder_.path())
            .arg(days));
    return {base + u".pem"_s, base + u".key"_s};
}
