#include "platforms/win32/Failures_p.h"
#include "q32Base/framework/Exceptions.h"

namespace q32::win32 {

void fnDropFailure(const std::exception_ptr& failure) {
    if (!failure)
        return;
    try {
        std::rethrow_exception(failure);
    } catch (CException* exception) {
        exception->Delete();
    } catch (...) { // frees itself
    }
}

void fnKeepFailure(std::exception_ptr& first) {
    if (first)
        fnDropFailure(std::current_exception());
    else
        first = std::current_exception();
}

} // namespace q32::win32
