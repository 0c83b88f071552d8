#include "Job.h"

#include <U_AnyTree.h>

#include <iterator>
#include <memory>

#include "zvkcore/string/UTFString.h"

namespace qlhost {
namespace {

using zvkcore::string::Units;
using zvkcore::string::View;

constexpr const char* kJob = "job";

std::string Narrow(const U_UTF8String& text)
{
    return std::string(View(text));
}

class JobFile : public CLI::Config {
  public:
    explicit JobFile(const CLI::App& app) : m_app{app} {}

    std::vector<CLI::ConfigItem> from_config(std::istream& input) const override
    {
        const std::string text{std::istreambuf_iterator<char>{input}, {}};
        U_AnyTreeWrapper job;
        try {
            job.SetFrom_JSON_Strict(U_UTF8String{Units(std::string_view{text})});
        } catch (const bad_uanytree_json& fault) {
            Refuse(fault.what());
        } catch (const boost::bad_any_cast&) {
            const std::size_t word = text.find("\"mixed-");
            Refuse(word == std::string::npos ? "it nests too deeply"
                                             : "no text may begin with \"mixed-\", as the one at " +
                                                   std::to_string(word) + " does");
        }
        std::vector<CLI::ConfigItem> items;
        job.for_each([&](int, const U_UTF16String& key, const U_Any& value, const U_AnyTreeWrapper&) {
            items.push_back(ItemOf(Narrow(U_Any(key).GetAs_Str8()), value));
            return false;
        });
        return items;
    }

    /// A job is read only.
    std::string to_config(const CLI::App*, bool, bool, std::string) const override { return {}; }

  private:
    [[noreturn]] static void Refuse(const std::string& why)
    {
        throw CLI::ConfigError("The job cannot be used: " + why, CLI::ExitCodes::ConfigError);
    }

    CLI::ConfigItem ItemOf(const std::string& key, const U_Any& value) const
    {
        const CLI::Option* option = m_app.get_option_no_throw("--" + key);
        if (!option) option = m_app.get_option_no_throw(key);
        if (!option || !option->get_configurable()) Refuse("there is no key '" + key + "'");
        if (!value.has_value() || value.IsMixed())
            Refuse("the key '" + key + "' needs a text, a number or a boolean");
        CLI::ConfigItem item;
        item.name = key;
        item.inputs = {Narrow(value.GetAs_Str8())};
        return item;
    }

    const CLI::App& m_app;
};

}  // namespace

void AcceptJob(CLI::App& app)
{
    app.set_config(std::string("--") + kJob, "",
                   "Read the job from this JSON file; its keys are these options");
    app.config_formatter(std::make_shared<JobFile>(app));
    app.get_help_ptr()->configurable(false);
}

}  // namespace qlhost
