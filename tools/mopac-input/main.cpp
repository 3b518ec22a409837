// mopac-input: inspect, check, edit and create MOPAC input files from the shell.
#include <CLI/CLI.hpp>

#include <csignal>
#include <exception>

#include "commands.hpp"
#include "files.hpp"

#ifndef MOPAC_INPUT_VERSION
#define MOPAC_INPUT_VERSION "unknown"
#endif

int main(int argc, char** argv) {
    // A write past the file-size limit fails with EFBIG and is reported as any
    // other failed write, instead of ending the process.
    std::signal(SIGXFSZ, SIG_IGN);
    vesk::tools::guard_standard_streams();
    CLI::App app{"Inspect, check, edit and create MOPAC input files.\n"
                 "Files are read whole and written atomically; '-' reads standard input. An input is a regular\n"
                 "text file (no NUL byte) of at most 256 MiB unless --max-size BYTES says otherwise."};
    app.set_version_flag("--version", "mopac-input " MOPAC_INPUT_VERSION);
    app.require_subcommand(1);
    int status = 0;
    vesk::tools::add_show_command(app, status);
    vesk::tools::add_edit_command(app, status);
    vesk::tools::add_new_command(app, status);
    vesk::tools::add_xyz_command(app, status);
    vesk::tools::add_check_command(app, status);
    for (CLI::App* command : app.get_subcommands({})) {
        vesk::tools::add_input_limit_option(*command);
        if (command->get_name() != "new" && command->get_name() != "xyz") vesk::tools::add_jobs_option(*command);
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        status = app.exit(error) == 0 ? 0 : 2;  // --help and --version exit 0, usage errors 2
        if (status == 2) vesk::tools::suggest_for_usage_error(app, argc, argv);
    } catch (const std::exception& error) {     // memory, say: a message and exit 1, not std::terminate
        vesk::tools::report("stopped", error.what());
        status = 1;
    }
    return vesk::tools::finish_standard_output(status);
}
