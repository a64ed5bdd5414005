#include "framework/Questions.h"

#include "runtime/ui/Application.h"

using namespace Qt::Literals::StringLiterals;

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

void AskToDropEdits(const TClientDataSetEx& rows, const QString& caption)
{
    if (rows.HasUnsavedEdits()
        && !AskYesNo(u"详细：您所做的操作并未保存，重新查询将丢失这些修改，确定要查询吗？"_s, caption,
            TDefaultAnswer::No))
        Abort();
}
