#pragma once

#include <exception>
#include <new>

namespace KsvKit {

/// What all failures below have in common, for those who do not ask why.
class AnyFailure : public std::exception {
 public:
  const char* what() const noexcept override { return "failure of a reference library"; }
};

/// Carries a library's status from where it is found to the guard of its entry points, which alone turns it into a
/// result.
template <class Status>
class Failure : public AnyFailure {
 public:
  explicit Failure(Status status) noexcept : status_(status) {}
  Status status() const noexcept { return status_; }

 private:
  Status status_;
};

/// Throws `status` unless `condition` holds.
template <class Status>
void Require(bool condition, Status status) {
  if (!condition) throw Failure<Status>(status);
}

/// What the parts in this folder throw, as `Failure<Fault>`: each library has a status of its own for both.
enum class Fault {
  /// The library's folder or its key cannot be used: unreadable, unwritable, damaged, or open to other users.
  kStore,
  /// The system's cryptography failed, which leaves nothing to be done.
  kCryptography,
};

/// The guard of a library's entry points: nothing but a status leaves it.
template <class Status, class Operation>
Status StatusOf(Operation&& operation) noexcept {
  try {
    operation();
    return Status::kOk;
  } catch (const Failure<Status>& failure) {
    return failure.status();
  } catch (const Failure<Fault>& fault) {
    return fault.status() == Fault::kStore ? Status::kStoreFailure : Status::kInternalError;
  } catch (const std::bad_alloc&) {
    return Status::kOutOfMemory;
  } catch (...) {
    return Status::kInternalError;
  }
}

}  // namespace KsvKit
