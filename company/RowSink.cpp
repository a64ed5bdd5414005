#include "company/RowSink.h"

namespace company {

RowSink::~RowSink() = default;

} // namespace company
