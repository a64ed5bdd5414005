#include "runtime/ui/PropStorage.h"
#include "tests/runtime/DataSetRows.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

using namespace Qt::Literals::StringLiterals;

namespace {

class PropStorageTest : public testing::Test {
protected:
    QString Path(const QString& name = u"WindowsIni/Zelmor.ini"_s) const { return folder.filePath(name); }

    void Put(const QByteArray& bytes) const
    {
        QDir(folder.path()).mkpath(u"WindowsIni"_s);
        QFile file(Path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    static QByteArray Contents(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QTemporaryDir folder;
};

TEST_F(PropStorageTest, AnyTextSurvives)
{
    const QStringList texts = {u"物流号;TX_LOGISTIC_ID;110"_s, u" 前后空白 "_s, u"两\n行\r\n"_s, u"a=b"_s,
        u"[x]"_s, u";注释"_s, u"反斜线\\u0041"_s, QString(QChar(0xfeff)) + u"x"_s, u"\U0001F69A"_s, {}};
    {
        TIniPropStorageManEh ini;
        ini.SetIniFileName(folder.path() + u"\\WindowsIni\\Zelmor.ini"_s);
        EXPECT_FALSE(QFile::exists(Path())) << "nothing written, no file";
        for (const QString& section : {u".grid.frame.screen"_s, u"带]的[节"_s}) {
            for (int i = 0; i < texts.size(); ++i)
                ini.WriteString(section, texts[i] + QString::number(i), texts[i]);
        }
        EXPECT_TRUE(ini.Flush());
        EXPECT_TRUE(QFile::exists(Path())) << "either separator, on every system";
    }
    TIniPropStorageManEh ini;
    ini.SetIniFileName(Path());
    for (const QString& section : {u".grid.frame.screen"_s, u"带]的[节"_s}) {
        EXPECT_EQ(ini.ReadKeys(section).size(), texts.size());
        for (int i = 0; i < texts.size(); ++i)
            EXPECT_EQ(ini.ReadString(section, texts[i] + QString::number(i), u"?"_s), texts[i]) << i;
    }
    EXPECT_EQ(ini.ReadString(u"none"_s, u"x"_s, u"?"_s), u"?"_s);
    ini.EraseSection(u"带]的[节"_s);
    EXPECT_TRUE(ini.Flush());
    ini.SetIniFileName(Path());
    EXPECT_TRUE(ini.ReadKeys(u"带]的[节"_s).isEmpty());
}

TEST_F(PropStorageTest, TwoClientsKeepEachOthersSettings)
{
    TIniPropStorageManEh first, second;
    first.SetIniFileName(Path());
    second.SetIniFileName(Path());
    first.WriteString(u"a"_s, u"x"_s, u"1"_s);
    second.WriteString(u"b"_s, u"y"_s, u"2"_s);
    EXPECT_TRUE(first.Flush());
    EXPECT_TRUE(second.Flush());
    first.WriteString(u"a"_s, u"z"_s, u"3"_s);
    EXPECT_TRUE(first.Flush());
    EXPECT_EQ(Contents(Path()), "[a]\nx=1\nz=3\n\n[b]\ny=2\n\n");
}

TEST_F(PropStorageTest, ADamagedFileReadsEmptyIsToldAndSetAside)
{
    for (const QByteArray& bytes : {QByteArray("\xff\xfe broken"), QByteArray("[a\nx=1\n"),
             QByteArray("[a]\nx=\\u00\n"), QByteArray("[a]\nno sign\n"), QByteArray("[a]\nx=1\0", 8)}) {
        Put(bytes);
        TIniPropStorageManEh ini;
        QStringList problems;
        ini.OnProblem = [&](const QString& message) { problems += message; };
        ini.SetIniFileName(Path());
        EXPECT_EQ(ini.ReadString(u"a"_s, u"x"_s, u"empty"_s), u"empty"_s);
        ASSERT_EQ(problems.size(), 1);
        EXPECT_TRUE(problems[0].contains(u"Zelmor.ini.damaged"_s)) << "says where the old settings are";
        EXPECT_EQ(Contents(Path()), bytes) << "reading changes nothing";
        ini.WriteString(u"a"_s, u"x"_s, u"2"_s);
        EXPECT_TRUE(ini.Flush());
        EXPECT_EQ(Contents(Path()), "[a]\nx=2\n\n");
        EXPECT_EQ(Contents(Path() + u".damaged"_s), bytes);
        EXPECT_EQ(problems.size(), 1) << "once is enough";
    }
}

TEST_F(PropStorageTest, AnUnwritablePlaceIsToldOnceAndNothingRaises)
{
    // A file where the folder should be: nobody, not even an administrator, can write below it.
    QFile blocker(folder.filePath(u"WindowsIni"_s));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    TIniPropStorageManEh ini;
    QStringList problems;
    ini.OnProblem = [&](const QString& message) { problems += message; };
    ini.SetIniFileName(Path());
    ini.WriteString(u"a"_s, u"x"_s, u"1"_s);
    EXPECT_FALSE(ini.Flush());
    EXPECT_FALSE(ini.Flush());
    ASSERT_EQ(problems.size(), 1);
    EXPECT_TRUE(problems[0].contains(u"请"_s)) << "says what to do";
    EXPECT_FALSE(ini.LastError().isEmpty());
    EXPECT_EQ(ini.ReadString(u"a"_s, u"x"_s), u"1"_s) << "still known to this session";
    ASSERT_TRUE(blocker.remove());
    EXPECT_TRUE(ini.Flush()) << "kept until it can be written";
    EXPECT_TRUE(ini.LastError().isEmpty());
}

} // namespace
