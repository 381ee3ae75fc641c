#include "script/instance_watch.h"

#include <stdexcept>
#include <utility>

namespace NorvoWebAPI {
namespace {

InstanceWatch* innermost = nullptr;

}  // namespace

InstanceWatch::InstanceWatch(NPP instance) : npp(instance), outer(std::exchange(innermost, this)) {}

InstanceWatch::~InstanceWatch() {
  innermost = outer;
}

void InstanceWatch::DemandAlive() const {
  if (ended) throw std::runtime_error("The page has ended");
}

void InstanceWatch::End(NPP instance) {
  for (InstanceWatch* watch = innermost; watch; watch = watch->outer) {
    if (watch->npp == instance) watch->ended = true;
  }
}

}  // namespace NorvoWebAPI
