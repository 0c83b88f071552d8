/// A runtime with a recording host, and plug-ins that are lambdas: host plug-ins, plug-ins behind an adapter of the
/// test's own, and plug-ins of a V1 adapter.
#ifndef MV_TEST_STAGE_H
#define MV_TEST_STAGE_H

#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "MVp_Accesses.h"
#include "MVp_Suites.h"
#include "QLTest.h"

constexpr Err kAISC = MV_Err_IN_ACCESS_CALL;

/// One message as a plug-in gets it.
struct Call {
    std::string_view caller, selector;
    void* message;

    bool Is(std::string_view which) const { return selector == which; }
    MVMessageData& Data() const { return *static_cast<MVMessageData*>(message); }
    template <class Record>
    Record& As() const
    {
        return *static_cast<Record*>(message);
    }
};

/// What a plug-in does; its result is the plug-in's own.
using Act = std::function<int(const Call&)>;

/// An act that has an answer to one selector, a value or a callable, and 0 to all others.
template <class Answer>
Act On(std::string selector, Answer answer)
{
    return [selector, answer](const Call& call) -> int {
        if (!call.Is(selector)) return 0;
        if constexpr (std::is_invocable_v<const Answer&, const Call&>)
            return answer(call);
        else if constexpr (std::is_invocable_v<const Answer&>)
            return answer();
        else
            return answer;
    };
}

/// The act of a plug-in that publishes a suite, API version 1, when it starts.
inline Act Publishes(const char* suite, const void* procs = "table")
{
    return On("Startup", [suite, procs](const Call& call) {
        return MVAddSuite(nullptr, call.Data().self, suite, 1, 1, procs, nullptr);
    });
}

/// The act of a plug-in that needs one to start.
inline Act Needs(const char* suite, int32_t internal = 0)
{
    return On("Startup", [suite, internal] {
        const void* procs = nullptr;
        return MVAcquireSuite(nullptr, suite, 1, internal, &procs);
    });
}

/// Property flags of `Stage::Properties`.
enum Mark { kPlain = 0, kEarly = 1, kSkip = 2, kExports = 4, kStays = 8, kAdapts = 16 };

class Stage : public qltest::Library {
  public:
    using Lines = std::vector<std::string>;

    Lines log;  ///< "name selector", with the access point behind it for access messages; host procs too
    Lines sentences;  ///< of assertTrap and debugTrap
    std::vector<Err> thrown;
    std::function<int32_t()> filter = [] { return 1; };
    std::function<int32_t(MVPlugin*)> hold = [](MVPlugin*) { return 0; };
    std::function<Err()> addPlugins = [] { return 0; };

    MVPlugin* Add(const std::string& name, Act act = {}, int marks = kPlain, MVPluginList* list = nullptr)
    {
        MVPlugin* plugin = nullptr;
        MVAddHostPlugin(list, Enter, NewActor(name, act), name.c_str(), Properties(marks), &plugin);
        return plugin;
    }

    /// A plug-in without an entry of the host: the adapter's plug-in plays it.
    MVPlugin* AddServed(MVAdapter* adapter, const std::string& name, Act act = {}, int marks = kPlain)
    {
        MVPlugin* plugin = nullptr;
        MVAddPlugin(nullptr, nullptr, Properties(marks), name.c_str(), adapter, NewActor(name, act), &plugin);
        return plugin;
    }

    /// The plug-in of an adapter that hands messages on. `first` may answer in its stead by a nonzero result.
    MVAdapter* AddAdapter(const std::string& name, uint32_t flags = 0, Act first = {})
    {
        MVPlugin* host = Add(name, [first](const Call& call) {
            if (const int answer = first ? first(call) : 0) return answer;
            if (!call.Is(MV_Selector_SEND_MESSAGE)) return 0;
            auto& wrapped = call.As<MVAdapterMessage>();
            return (*ActorOf(wrapped.plugin))({wrapped.caller, wrapped.selector, wrapped.message});
        });
        MVAdapter* adapter = nullptr;
        MVAddAdapter(host, name.c_str(), 1, flags, nullptr, &adapter);
        return adapter;
    }

    int32_t Send(MVPlugin* plugin, const char* selector, const char* caller = "Test", void* message = nullptr)
    {
        result = -1;
        return MVSendMessage(plugin, caller, selector, message, &result);
    }
    int32_t result = 0;

    static int32_t CountOf(MVPlugin* plugin)
    {
        const MVAccess* access = mvFindAccess(plugin);
        return access ? access->count : -1;
    }

    /// Ends the runtime and begins another, without plug-ins.
    void Restart(const MVHostProcs* procs = &kProcs)
    {
        ASSERT_EQ(MVTerm(), 0);
        ASSERT_EQ(MVInit(procs, this, nullptr), 0);
    }

    /// The names of those lines of the log that end in a selector.
    Lines Took(const std::string& selector)
    {
        Lines names;
        for (const std::string& line : log)
            if (line.ends_with(" " + selector))
                names.push_back(line.substr(0, line.size() - selector.size() - 1));
        return names;
    }

  protected:
    void SetUp() override
    {
        Library::SetUp();
        ASSERT_EQ(MVInit(&kProcs, this, nullptr), 0);
    }

    void TearDown() override
    {
        m_isOver = true;
        EXPECT_EQ(MVTerm(), 0);
        for (const std::string& sentence : sentences)
            EXPECT_EQ(sentence.find("never freed"), std::string::npos) << sentence;
        Library::TearDown();
    }

    static Stage& Of(void* hostData) { return *static_cast<Stage*>(hostData); }
    static const MVHostProcs kProcs;

  private:
    Act* NewActor(const std::string& name, Act act)
    {
        Act logged = [this, name, act](const Call& call) {
            std::string line = name + ' ' + std::string(call.selector);
            if (call.caller == MV_Caller_ACCESS)
                line += ' ' + std::to_string(call.As<MVAccessMessage>().accessPoint);
            log.push_back(line);
            return act && !m_isOver ? act(call) : 0;
        };
        return &m_actors.emplace_back(logged);
    }

    static Act* ActorOf(MVPlugin* plugin)
    {
        return static_cast<Act*>(plugin->hostInfo ? plugin->hostInfo : plugin->adapterInfo);
    }

    static int Enter(const char* caller, const char* selector, void* message)
    {
        return (*ActorOf(static_cast<MVMessageData*>(message)->self))({caller, selector, message});
    }

    static MVPropertyList* Properties(int marks)
    {
        MVPropertyList* list = nullptr;
        MVAllocatePropertyList(&list);
        const auto add = [list](int32_t key, const void* data, uint32_t size) {
            MVAddProperty(list, MV_VENDOR, key, 0, data, size);
        };
        const uint8_t accepts = marks & (kEarly | kSkip);
        if (accepts) add(MV_Key_ACCEPTS, &accepts, 1);
        const struct {
            uint32_t count, length;
            char name[8];
            int32_t version;
        } exports = {1, 12, "Export", 3};
        if (marks & kExports) add(MV_Key_EXPORTS, &exports, sizeof(exports));
        if (marks & kStays) add(MV_Key_STAYS, nullptr, 0);
        const uint32_t kind = 2;
        if (marks & kAdapts) add(MV_Key_ADAPTER, &kind, sizeof(kind));
        return list;
    }

    std::deque<Act> m_actors;
    bool m_isOver = false;  // what the lambdas refer to is gone
};

inline const MVHostProcs Stage::kProcs = {
    sizeof(MVHostProcs),
    [](void* self, int32_t event, const void* data) {
        if (event == MV_Event_PLUGIN)
            return Of(self).log.push_back(std::string("starts ") + static_cast<const MVPlugin*>(data)->name);
        Of(self).log.push_back("failed " + std::to_string(static_cast<const MVFailure*>(data)->code));
    },
    [](void* self, int32_t, const void*) { Of(self).log.push_back("shuts down"); },
    [](void* self, const char* sentence) { Of(self).sentences.push_back(sentence); },
    [](void* self, Err code) { Of(self).thrown.push_back(code); },
    [](void* self, const char* sentence) { Of(self).sentences.push_back(sentence); },
    nullptr,
    nullptr,
    nullptr,
    [](void* self, int32_t event, const void*) {
        Of(self).log.push_back("event " + std::to_string(event));
        return Of(self).filter();
    },
    [](void* self) { return Of(self).addPlugins(); },
    [](void* self, MVPlugin* plugin) { return Of(self).hold(plugin); },
    nullptr,
};

#endif
