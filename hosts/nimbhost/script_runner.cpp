#include "nimbhost/script_runner.h"

#include <chrono>

#include "nimbhost/terminal/interruption.h"
#include "nimbhost/value_parser.h"

namespace nimb::standin {

const Statement* ScriptRunner::run(const std::vector<Statement>& statements) {
    for (const Statement& statement : statements) {
        if (statement.kind != Statement::Kind::repeat) {
            if (!runOne(statement)) {
                return &statement;
            }
            continue;
        }
        for (unsigned round = 0; round < statement.count; ++round) {
            if (const Statement* failed = run(statement.body)) {
                return failed;
            }
        }
    }
    return nullptr;
}

bool ScriptRunner::runOne(const Statement& statement) {
    switch (statement.kind) {
        case Statement::Kind::echo:
            report_.heading(statement.name);
            return true;
        case Statement::Kind::wait:
            nimbhost::interruptibleSleep(std::chrono::milliseconds(statement.count));
            return true;
        case Statement::Kind::set:
            context_.variables().set(statement.name, values(statement));
            return true;
        default:
            return call(statement.name, values(statement), statement.failureExpected);
    }
}

bool ScriptRunner::call(std::string_view entry, const VeltoList& arguments, bool failureExpected) {
    nimbhost::checkInterrupted();
    report_.call(entry, arguments);
    const Outcome outcome = context_.call(entry, arguments);
    report_.outcome(entry, outcome, failureExpected);
    return outcome.failed == failureExpected;
}

std::string ScriptRunner::quietly(const Statement& statement) {
    if (statement.kind != Statement::Kind::call) {
        runOne(statement);
        return {};
    }
    const Outcome outcome = context_.call(statement.name, values(statement));
    return outcome.untouched || outcome.cut ? "(too long)" : describe(outcome.result);
}

VeltoList ScriptRunner::values(const Statement& statement) const try {
    return parseValues(statement.text, statement.valuesAt, context_.variables());
} catch (const SyntaxError& error) {
    throw InputError(statement.place, statement.text, error.position(), error.what());
}

}  // namespace nimb::standin
