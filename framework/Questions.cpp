#include "framework/Questions.h"

#include "runtime/ui/Application.h"

bool AskYesNo(const QString& text, const QString& caption, TDefaultAnswer preset)
{
    return Application->MessageBox(
               text, caption, TMessageIcon::Question, TMessageButtons::YesNo, preset == TDefaultAnswer::No)
        == TMessageResult::Yes;
}

bool AskOkCancel(const QString& text, const QString& caption, TDefaultAnswer preset)
{
    return Application->MessageBox(
               text, caption, TMessageIcon::Question, TMessageButtons::OkCancel, preset == TDefaultAnswer::No)
        == TMessageResult::Ok;
}

QString AskReason(const QString& caption, const QString& prompt)
{
    return Application->InputBox(caption, prompt, {});
}
