#include "kit/agent/agent.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <nlohmann/json.hpp>

#include "kit/agent/otpauth_uri.h"
#include "kit/agent/text.h"
#include "kit/agent/token.h"
#include "kit/shared/handles.h"
#include "kit/shared/key_store.h"

namespace KsvAgent {
namespace {

/// Keeps the order in which README.md lists the members.
using Json = nlohmann::ordered_json;

constexpr uint32_t kAgentVersion = 1;
constexpr size_t kMaxName = 512;
constexpr size_t kMaxInstances = 256;
constexpr size_t kMaxToken = 2048;

uint8_t ChosenGeneration() noexcept try {
  return System::PathFromEnvironment("KSV_AGENT_GENERATION") == "3" ? 3 : 2;
} catch (...) {
  return 2;
}

/// Read when the library is loaded; later changes of the environment have no effect.
const uint8_t kChosenGeneration = ChosenGeneration();

enum OtpSelector : int32_t { kNow = 0, kAtGivenTime = 1 };
enum CapabilitySelector : int32_t { kAboutAgent = 0, kAppletNames = 1, kAboutApplet = 2 };

std::string CheckName(const char* name) {
  Require(name != nullptr && *name != '\0', Status::kInvalidArgument);
  const size_t length = strnlen(name, kMaxName + 1);
  Require(length <= kMaxName, Status::kUnknownApplet);
  return std::string(name, length);
}

void CheckDataType(int32_t dataType) {
  Require(dataType == kUriDataType || dataType == kSvpDataType, Status::kUnknownDataType);
}

void CheckCapacity(OutputBuffer out, size_t needed) {
  if (needed <= out.capacity()) return;
  Require(needed <= std::numeric_limits<uint16_t>::max(), Status::kInternalError);
  *out.length = static_cast<uint16_t>(needed);
  throw AgentError(Status::kBufferTooSmall);
}

/// The capacity must have been checked.
void Store(OutputBuffer out, ByteView bytes) {
  std::copy(bytes.begin(), bytes.end(), out.data);
  *out.length = static_cast<uint16_t>(bytes.size());
}

Account ParseFor(const Applet& applet, ByteView input) {
  Require(!input.empty(), Status::kEmptyInput);
  Account account = ParseOtpauthUri(input);
  Require(applet.Allows(account.kind), Status::kUnsupportedParameters);
  return account;
}

/// What has been received and the account that it makes, without the seed.
std::string Acknowledge(const Applet& applet, ByteView input) {
  Json text = {{"received", input.size()}};
  try {
    const Account account = ParseFor(applet, input);
    text.update({{"complete", true},
                 {"kind", NameOf(account.kind)},
                 {"label", account.label},
                 {"issuer", account.issuer},
                 {"algorithm", NameOf(account.hash)},
                 {"digits", account.digits}});
    if (account.kind == OtpKind::kTime) {
      text["period"] = account.period;
    } else {
      text["counter"] = account.counter;
    }
  } catch (const AgentError& error) {
    text.update({{"complete", false}, {"status", error.status()}});
  }
  return text.dump();
}

/// The counter or the time step of the password.
uint64_t MovingFactor(const Account& account, int32_t selector, ByteView extra) {
  Require(selector == kNow || (selector == kAtGivenTime && account.kind == OtpKind::kTime), Status::kUnknownSelector);
  Require(extra.size() == (selector == kNow ? 0 : sizeof(uint64_t)), Status::kBadExtraData);
  if (account.kind == OtpKind::kCounter) {
    Require(account.counter < std::numeric_limits<uint64_t>::max(), Status::kCounterExhausted);
    return account.counter;
  }
  if (selector == kAtGivenTime) return ByteReader(extra, Status::kBadExtraData).ReadNumber<uint64_t>() / account.period;
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::seconds>(now).count()) / account.period;
}

Json AboutAgent(uint8_t generation) {
  Json algorithms = Json::array();
  for (const Crypto::Hash hash : kHashes) algorithms.push_back(NameOf(hash));
  return {{"agent", "reference"},     {"version", kAgentVersion},
          {"generation", generation}, {"kinds", {NameOf(OtpKind::kTime), NameOf(OtpKind::kCounter)}},
          {"algorithms", algorithms}, {"minDigits", kMinDigits},
          {"maxDigits", kMaxDigits}};
}

Json AboutApplet(const Applet& applet) {
  Json kinds = Json::array();
  for (const OtpKind kind : {OtpKind::kTime, OtpKind::kCounter}) {
    if (applet.Allows(kind)) kinds.push_back(NameOf(kind));
  }
  return {{"applet", applet.id}, {"title", applet.title}, {"version", applet.version}, {"kinds", kinds}};
}

/// Read from the environment for each use, so that a change takes effect without loading the library again.
std::filesystem::path Home() {
  return System::HomeFolder("KSV_AGENT_HOME", "ksv-agent");
}
AppletStore Applets() {
  return AppletStore(Home());
}
KeyStore Keys() {
  return KeyStore(Home() / "token.key");
}

std::string AppletEvent(const char* event, std::string_view applet) {
  return Json{{"event", event}, {"applet", applet}}.dump();
}

}  // namespace

Agent::Agent() : generation_(kChosenGeneration) {}

void Agent::Init() {
  const std::scoped_lock lock(mutex_);
  initialised_ = true;
}

void Agent::DeInit() {
  {
    // First of all, so that no registration is added after `Close`.
    const std::scoped_lock lock(mutex_);
    CheckInitialised();
    initialised_ = false;
  }
  try {
    // Without the lock: callbacks that are still running may call the agent.
    events_.Close();
  } catch (...) {
    Init();
    throw;
  }
  const std::scoped_lock lock(mutex_);
  sessions_.Clear();
  instances_.clear();
}

void Agent::RequireInitialised() {
  const std::scoped_lock lock(mutex_);
  CheckInitialised();
}

uint32_t Agent::Version() const {
  return kAgentVersion << 8 | generation_;
}

void Agent::GetCapabilities(const char* name, int32_t selector, OutputBuffer out) {
  Json about;
  switch (selector) {
    case kAboutAgent:
      about = AboutAgent(generation_);
      break;
    case kAppletNames:
      about = {{"applets", Applets().List()}};
      break;
    case kAboutApplet: {
      const std::optional<Applet> applet = Applets().Find(CheckName(name));
      Require(applet.has_value(), Status::kUnknownApplet);
      about = AboutApplet(*applet);
      break;
    }
    default:
      throw AgentError(Status::kUnknownSelector);
  }
  const std::string text = about.dump();
  CheckCapacity(out, text.size());
  Store(out, AsBytes(text));
}

void Agent::Install(const char* name, const WCHAR* path) {
  const std::string id = CheckName(name);
  {
    const std::scoped_lock lock(mutex_);
    CheckInitialised();
    const std::optional<std::filesystem::path> file = System::PathFromHost(path);
    Require(file.has_value(), Status::kInvalidArgument);
    Applets().Install(id, *file);
  }
  events_.PostToAll(EventSource::kApplets, AppletEvent("applet-installed", id));
}

void Agent::Uninstall(const char* name) {
  const std::string id = CheckName(name);
  {
    const std::scoped_lock lock(mutex_);
    CheckInitialised();
    Applets().Uninstall(id);
    if (id != kBuiltInApplet) sessions_.EndAllOfApplet(id);
  }
  events_.PostToAll(EventSource::kApplets, AppletEvent("applet-removed", id));
}

const Agent::Instance& Agent::FindInstance(uint32_t instanceId) const {
  CheckInitialised();
  CheckGeneration(3);
  const auto found = instances_.find(instanceId);
  Require(found != instances_.end(), Status::kUnknownInstance);
  return found->second;
}

Agent::Resolved Agent::Resolve(Target target) const {
  CheckInitialised();
  Client client;
  if (const char* const* name = std::get_if<const char*>(&target)) {
    CheckGeneration(2);
    client.applet = CheckName(*name);
  } else {
    client.instanceId = std::get<uint32_t>(target);
    client.applet = FindInstance(client.instanceId).applet;
  }
  std::optional<Applet> applet = Applets().Find(client.applet);
  Require(applet.has_value(), Status::kUnknownApplet);
  return {std::move(client), std::move(*applet)};
}

uint32_t Agent::StartProvisioning(Target target) {
  const std::scoped_lock lock(mutex_);
  return sessions_.Start(Resolve(target).client);
}

void Agent::SendData(Target target, int32_t session, int32_t dataType, ByteView data) {
  const std::scoped_lock lock(mutex_);
  const Resolved resolved = Resolve(target);
  CheckDataType(dataType);
  sessions_.Append(session, resolved.client, data);
}

void Agent::ReceiveData(Target target, int32_t session, int32_t dataType, OutputBuffer out) {
  SendAndReceiveData(target, session, dataType, {}, out);
}

void Agent::SendAndReceiveData(Target target, int32_t session, int32_t dataType, ByteView data, OutputBuffer out) {
  const std::scoped_lock lock(mutex_);
  const auto [client, applet] = Resolve(target);
  CheckDataType(dataType);
  const SecretBytes& input = sessions_.Input(session, client);
  const size_t before = input.size();
  if (!data.empty()) sessions_.Append(session, client, data);
  try {
    const std::string acknowledgement = Acknowledge(applet, input);
    CheckCapacity(out, acknowledgement.size());
    Store(out, AsBytes(acknowledgement));
  } catch (...) {
    sessions_.Shorten(session, client, before);
    throw;
  }
}

void Agent::EndProvisioning(Target target, int32_t session, OutputBuffer out) {
  std::unique_lock lock(mutex_);
  const auto [client, applet] = Resolve(target);
  const SecretBytes& input = sessions_.Input(session, client);
  Require(!input.empty(), Status::kEmptyInput);
  Account account;
  try {
    account = ParseFor(applet, input);
  } catch (const AgentError&) {
    sessions_.End(session);
    throw;
  }
  const Bytes token = SealToken(account, client.applet, Keys().LoadOrCreate());
  CheckCapacity(out, token.size());
  Store(out, token);
  sessions_.End(session);
  lock.unlock();

  if (account.kind == OtpKind::kTime) events_.SetPeriod(client, account.period);
  // Another page than the one that provisioned may receive this, so the account's name is not in it.
  events_.Post(client, EventSource::kProvisioning,
               Json{{"event", "provisioned"}, {"kind", NameOf(account.kind)}}.dump());
}

void Agent::GetOtp(Target target, int32_t selector, ByteView token, ByteView extra, OutputBuffer otp,
                   OutputBuffer newToken) {
  std::unique_lock lock(mutex_);
  const Client client = Resolve(target).client;
  lock.unlock();

  Require(!token.empty(), Status::kEmptyInput);
  Require(token.size() <= kMaxToken, Status::kBadToken);
  const std::optional<SecretBytes> key = Keys().Load();
  // Without a key this user has no token yet.
  Require(key.has_value(), Status::kBadToken);
  Account account = OpenToken(token, client.applet, *key);
  const SecretBytes password = MakePassword(account, MovingFactor(account, selector, extra));
  Bytes advanced;
  if (account.kind == OtpKind::kCounter) {
    ++account.counter;
    advanced = SealToken(account, client.applet, *key);
  }

  if (password.size() > otp.capacity() || advanced.size() > newToken.capacity()) {
    *otp.length = static_cast<uint16_t>(password.size());
    *newToken.length = static_cast<uint16_t>(advanced.size());
    throw AgentError(Status::kBufferTooSmall);
  }
  Store(otp, password);
  Store(newToken, advanced);
  if (account.kind == OtpKind::kTime) events_.SetPeriod(client, account.period);
}

void Agent::RegisterEvents(const char* name, EventHub::Sink sink) {
  const std::scoped_lock lock(mutex_);
  events_.Subscribe(Resolve(name).client, std::move(sink));
}

void Agent::UnregisterEvents(const char* name) {
  {
    const std::scoped_lock lock(mutex_);
    CheckInitialised();
    CheckGeneration(2);
  }
  events_.Unsubscribe({CheckName(name)});
}

void Agent::StartInstance(const char* name, const std::function<EventHub::Sink(uint32_t)>& makeSink,
                          uint32_t& instanceId) {
  const std::scoped_lock lock(mutex_);
  CheckInitialised();
  CheckGeneration(3);
  const std::string applet = CheckName(name);
  Require(Applets().Find(applet).has_value(), Status::kUnknownApplet);
  Require(instances_.size() < kMaxInstances, Status::kTooManyInstances);
  const uint32_t id = RandomHandle(instances_);
  instances_.emplace(id, Instance{applet, makeSink != nullptr});
  instanceId = id;
  if (makeSink == nullptr) return;
  try {
    events_.Subscribe({applet, id}, makeSink(id));
  } catch (...) {
    instances_.erase(id);
    throw;
  }
}

void Agent::StopInstance(uint32_t instanceId) {
  std::unique_lock lock(mutex_);
  const Instance instance = FindInstance(instanceId);
  const Client client{instance.applet, instanceId};
  lock.unlock();
  // Without the lock, and first: when a callback is still running the instance goes on.
  if (instance.hasEvents) events_.Unsubscribe(client);
  lock.lock();
  sessions_.EndAllOf(client);
  instances_.erase(instanceId);
}

}  // namespace KsvAgent
