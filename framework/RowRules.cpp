#include "framework/RowRules.h"

#include "module/data/MessageBoxes.h"
#include "runtime/data/ClientDataSet.h"

bool RulesHold(const QString& caption, const std::function<void()>& rules,
    const std::function<void(const QString& field)>& focus)
{
    try {
        rules();
        return true;
    } catch (const TRuleViolation& violation) {
        Application->MessageBox(violation.message, caption, violation.icon);
        if (focus && !violation.field.isEmpty())
            focus(violation.field);
    } catch (const wire::Error& error) {
        ShowFailure(error.Message(), caption); // a look-up that got no answer: the row waits for another try
    }
    return false;
}

void RunRules(const QString& caption, const std::function<void()>& rules,
    const std::function<void(const QString& field)>& focus)
{
    if (!RulesHold(caption, rules, focus))
        Abort();
}
