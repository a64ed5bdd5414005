#pragma once

#include <QLibrary>

class TSocketConnectionEx;

// The module with the screens: a library beside the program, loaded when first used.
class TModuleLibrary {
public:
    // Path without the system's extension.
    explicit TModuleLibrary(const QString& path);

    // Opens the screen or brings it forward; `formName` is the screen's name and its three-character rights
    // code. Raises wire::Error (Usage), saying what to do, when the library cannot be loaded. What goes wrong
    // inside, the module shows itself.
    void Exec(TSocketConnectionEx* main, TSocketConnectionEx* query, const QString& formName);
    // After the last screen is gone.
    void Unload();

private:
    void Load();

    QLibrary library_;
    QFunctionPointer entry_ = nullptr;
};
