#pragma once

#include <exception>
#include <new>

namespace KsvKit {

/// The base of all failures, for handlers to which the status does not matter.
class AnyFailure : public std::exception {
 public:
  const char* what() const noexcept override { return "failure of a reference library"; }
};

/// Carries a status from where the error is found to the library's entry point (`StatusOf`), which returns it.
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

/// The errors of this folder, thrown as `Failure<Fault>`. `StatusOf` maps them to each library's own status.
enum class Fault {
  /// The library's folder or its key cannot be used: unreadable, unwritable, damaged, or open to other users.
  kStore,
  /// The system's cryptography failed.
  kCryptography,
};

/// Runs the work of an entry point and gives its status. No exception leaves it.
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
