#include "cli/Verb.h"
#include "documents/ConfigSchema.h"

namespace varnel {

namespace {

int run(const VerbCall&, Console& console) {
    console.out.write(configSchema());
    return ExitStatus::fine;
}

} // namespace

extern const Verb kSchemaVerb{.name = "schema",
                              .arguments = "",
                              .summary = "prints a JSON Schema of the configuration, for editors",
                              .options = {},
                              .isForPrograms = true,
                              .run = run};

} // namespace varnel
