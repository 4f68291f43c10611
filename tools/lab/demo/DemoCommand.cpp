// The subcommand "demo" of kestrel-lab.
#include <memory>

#include "tools/lab/Commands.h"
#include "tools/lab/demo/Demo.h"

namespace lab {

void AddDemoCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<DemoOptions>();
    options->output = "demo-out";
    CLI::App* demo =
        app.add_subcommand("demo", "Show and check everything that the module does, in about 40 seconds.");
    demo->add_option("--input", options->input,
                     "Sound file with the speech to be used (default: speech of asterisk-core-sounds-en-wav)")
        ->check(CLI::ExistingFile);
    demo->add_option("--output", options->output, "Folder for report.html, the recordings and the log")
        ->capture_default_str();
    demo->add_option("--daemon", options->daemon,
                     "The daemon to be started (default: the one beside this program)")
        ->check(CLI::ExistingFile);
    demo->footer(
        "Starts a gatekeeper and the daemon on this machine, places calls, and writes a report.\nNeeds no "
        "privileges and no network but loopback. Ctrl-C ends it cleanly.\n\nExample: kestrel-lab demo "
        "--input my-voice.wav --output /tmp/demo");
    demo->callback([options, &status] { status = Demo(*options).Run(); });
}

}  // namespace lab
