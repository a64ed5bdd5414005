#include "server/main/Password.h"

#include "server/main/Arguments.h"

#include <cstdio>
#include <iostream>
#include <string>

#ifdef Q_OS_WIN
#include <io.h>
#include <windows.h>
#else
#include <termios.h>
#include <unistd.h>
#endif

using namespace Qt::Literals::StringLiterals;

namespace server {
namespace {

#ifdef Q_OS_WIN

bool IsTerminal()
{
    return _isatty(_fileno(stdin)) != 0;
}

// What is typed is not shown while this lives.
class EchoOff {
public:
    EchoOff()
    {
        GetConsoleMode(input_, &mode_);
        SetConsoleMode(input_, mode_ & ~DWORD(ENABLE_ECHO_INPUT));
    }
    ~EchoOff() { SetConsoleMode(input_, mode_); }
    Q_DISABLE_COPY(EchoOff)

private:
    HANDLE input_ = GetStdHandle(STD_INPUT_HANDLE);
    DWORD mode_ = 0;
};

#else

bool IsTerminal()
{
    return isatty(STDIN_FILENO) != 0;
}

// What is typed is not shown while this lives.
class EchoOff {
public:
    EchoOff()
    {
        tcgetattr(STDIN_FILENO, &mode_);
        termios silent = mode_;
        silent.c_lflag &= ~tcflag_t(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    ~EchoOff() { tcsetattr(STDIN_FILENO, TCSAFLUSH, &mode_); }
    Q_DISABLE_COPY(EchoOff)

private:
    termios mode_ = {};
};

#endif

QString ReadLine()
{
    std::string line;
    std::getline(std::cin, line);
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return QString::fromStdString(line);
}

QString Prompt(const char* text)
{
    std::fputs(text, stderr);
    const EchoOff unseen;
    const QString typed = ReadLine();
    std::fputs("\n", stderr);
    return typed;
}

} // namespace

QString AskNewPassword()
{
    const bool terminal = IsTerminal();
    const QString password = terminal ? Prompt("New password: ") : ReadLine();
    if (password.isEmpty())
        throw UsageError(u"no password was given on standard input"_s);
    if (terminal && Prompt("Once more: ") != password)
        throw UsageError(u"the two passwords differ"_s);
    return password;
}

} // namespace server
