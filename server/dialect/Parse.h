#pragma once

#include "server/dialect/Tree.h"

namespace dialect {

class TranslationTime;

// The tree of one statement: a select or an update, and nothing after it. Raises Syntax with the place and
// what was expected there or what is too much of it, Policy for other statements and for more than one.
Statement Parse(const Lexer& lexer, TranslationTime& time);

} // namespace dialect
