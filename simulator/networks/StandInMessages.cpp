#include "simulator/networks/StandInMessages.h"

#include "platform/process/Lock.h"
#include "platform/process/ProcessLocal.h"

#include <utility>

namespace lumora {

namespace {

struct Received {
    Lock lock;
    std::vector<std::string> messages LUMORA_GUARDED_BY(lock);
};
ProcessLocal<Received> s_received;

const char behaviourKey = 0;

struct Behaviour final : Object {
    explicit Behaviour(StandInBehaviour what)
        : run(std::move(what))
    {
    }
    StandInBehaviour run;
};

} // namespace

void setBehaviour(Object& receiver, StandInBehaviour behaviour)
{
    objc_setAssociatedObject(receiver, &behaviourKey, std::make_shared<Behaviour>(std::move(behaviour)));
}

std::shared_ptr<Object> runBehaviour(id receiver)
{
    const auto behaviour = as<Behaviour>(objc_getAssociatedObject(*receiver, &behaviourKey).object());
    return behaviour ? behaviour->run() : nullptr;
}

std::string messageText(id receiver, SEL selector, const std::vector<Value>& arguments)
{
    std::string text = "[" + receiver->description() + " " + sel_getName(selector) + "]";
    for (const Value& argument : arguments)
        text += " " + argument.description();
    return text;
}

void noteReceived(id self, SEL _cmd, std::vector<Value> arguments)
{
    Received& received = s_received.get(self->isa()->registry().process());
    std::string text = messageText(self, _cmd, arguments);
    Locker hold(received.lock);
    received.messages.push_back(std::move(text));
}

std::vector<std::string> takeReceived()
{
    Received& received = s_received.get();
    Locker hold(received.lock);
    return std::exchange(received.messages, {});
}

} // namespace lumora
