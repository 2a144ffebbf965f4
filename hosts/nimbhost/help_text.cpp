#include "nimbhost/command_line.h"

namespace nimb::standin {

const char* helpText() noexcept {
    return R"(usage: nimbhost [option...] call ENTRY [VALUE...]
       nimbhost [option...] run SCRIPT
       nimbhost list
       nimbhost help [ENTRY]

Loads the OPC UA adapter as the database host does and calls its entries, to try the library without
the database. call makes one call; run makes those of a script ("-" reads the standard input), which
share their clients. list shows all entries, help what one of them takes and answers.

  --library PATH       the shared library; left out: $NIMBOPCUA_LIBRARY, or the one built along
  --define NAME=VALUE  give the variable $NAME a value, typed as an argument; may be repeated
  --json               show results as JSON, one array per call and line
  --hex                show the bytes of results
  --raw                never take text for a nested list, which has the same encoding
  --help               this text

Values
  42  -7  0x1F         integers of 64 bits
  12.34  -5e-3         decimal numbers, kept exactly
  f:0.1  f32:0.1       floating point, double and single
  "text"               8-bit text, UTF-8 as typed; \" \\ \n \r \t, and \xHH for a byte
  u"text"              16-bit text; the same escapes, and \uHHHH for a unit
  x:00ff               bytes
  null                 the undefined item
  [1, "two", [3]]      a nested list
  $handle  $result[4]  a variable; an item, counted from 0, of the list in it
  Tank1.Level          text without quotes: letters, digits and _.:/%@+-=~, not a digit first
Before the shell sees quotes and $, put single quotes around a value: '"text"' '$url'

Scripts have one command per line; # begins a comment
  ENTRY VALUE, VALUE   a call; commas between values may be left out
  ! ENTRY ...          a call that must fail
  set NAME = VALUE     a variable
  echo TEXT            a heading
  wait MS              a pause in milliseconds
  repeat N {           repeat the lines down to the one that closes with }
Calls set $result to all that was answered (item 0 is the status), and $handle, $query and
$subscription when they create such a thing. A script is read whole before its first call, and
ends at the first call that does not end as expected.

  nimbhost call zfVersion
  nimbhost call zfGetStatusCodeNameB 2147942400
  nimbhost --define url=opc.tcp://plant:4840 run - <<'END'
      zfCreateClientB
      zfSetupClientC $handle, 3000, 1, "", "", "", "", "", 1
      zfConnectB $handle, $url
      zfReadAttribute $handle, 2258, 0, 0, 13
      zfDestroyClientB $handle
  END

Exit status: 0 all calls ended as expected, 1 one did not, 2 wrong command line, script or value,
3 the library cannot be loaded.
)";
}

}  // namespace nimb::standin
