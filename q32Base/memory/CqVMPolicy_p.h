#pragma once

class CqVMPolicy;

namespace q32 {

/// Sets what `q32GetVMPolicy` returns. Called only by attach and detach, which own the policy.
void fnSetVMPolicy(CqVMPolicy* policy);

} // namespace q32
