# A Markdown table of Google Benchmark's JSON output: one row for a benchmark.
#   --arg filter    regular expression; only benchmarks whose name it matches. What an expression
#                   with ^ matches is left out of the row's name.
#   --arg columns   names, separated by blanks: "time", or a counter. "name@": over the last number
#                   in the benchmarks' names, one column for each, and one row for all of them.
#                   "name<=1.2", "name>=1.8": larger, or smaller, values are marked as missed.

# Of several repetitions their median counts.
def measured:
  [.benchmarks[]
   | select(.aggregate_name == "median" or (.run_type == "iteration" and .repetitions <= 1))
   | select(.run_name | test($filter))
   | . + {path: (.run_name | gsub("/((real|manual|process)_time|(min_time|iterations|repeats):[0-9.]+)"; "")
                           | if $filter | startswith("^") then sub($filter; "") else . end)}
   | . + (.path | capture("^(?<row>.*?)/?((?<kind>[a-z_]+):)?(?<argument>[0-9]+)$")
                  // {row: ., kind: null, argument: ""})];

def once: reduce .[] as $item ([]; if any(.[]; . == $item) then . else . + [$item] end);

def thousands: tostring | [while(. != ""; .[:-3]) | .[-3:]] | reverse | join(",");

# Three digits that count, or all of those before the point.
def shown:
  if . < 0 then "-" + (-. | shown)
  elif . >= 100 then round | thousands
  else (if . >= 10 then 10 elif . >= 1 then 100 elif . >= 0.1 then 1000 else 10000 end) as $unit
    | . * $unit | round | . / $unit | tostring
  end;

def seconds:
  if . >= 1 then "\(shown) s" elif . >= 1e-3 then "\(. * 1e3 | shown) ms"
  elif . >= 1e-6 then "\(. * 1e6 | shown) µs" else "\(. * 1e9 | shown) ns" end;

def unit_seconds: {ns: 1e-9, us: 1e-6, ms: 1e-3, s: 1}[.];

def misses($value):
  .bound != null and (if .sense == "<=" then $value > .bound else $value < .bound end);

# Counters that do not name their unit are in seconds where they are a time by element.
def cell($column):
  if $column.name == "time" then .real_time * (.time_unit | unit_seconds) | seconds
  elif has($column.name) | not then ""
  else .[$column.name] as $value
    | $value
    | (if $column.name | startswith("per_") then seconds else shown end)
      + (if $column | misses($value) then " **missed**" else "" end)
  end;

def read_column:
  capture("^(?<name>[^@<>]+)(?<spread>@?)((?<sense>[<>]=)(?<bound>.+))?$")
  | {name, sense, spread: (.spread == "@"), bound: (.bound // null | if . then tonumber else null end)}
  | . + {title: ((.name | gsub("_"; " "))
                 + (if .bound then (if .sense == "<=" then ", at most" else ", at least" end) + " \(.bound)"
                    else "" end))};

def line: "| " + join(" | ") + " |";

measured as $measured
| if $measured == [] then error("no benchmark matches \($filter)") else . end
| [$columns | splits(" +") | select(. != "") | read_column] as $columns
| any($columns[]; .spread) as $spread
| [$measured[] | select(.argument != "") | {argument, kind}] | unique_by(.argument | tonumber)
| . as $arguments
| [""] + [$columns[]
          | if .spread then
              .title as $title
              | $arguments[]
              | "\($title), " + (if .kind then "\(.kind): " else "" end) + (.argument | thousands)
            else .title end]
| line, ([to_entries[] | if .key == 0 then "---" else "---:" end] | line),
  ( # the results of each row
    if $spread then
      [$measured[].row] | once | .[] as $row | [$measured[] | select(.row == $row)]
    else $measured[] | [.] end
    | . as $results
    | [if $spread then .[0].row else .[0].path end | if test("^[0-9]+$") then thousands else . end]
      + [$columns[] as $column
         | if $column.spread then
             $arguments[] as {$argument}
             | [$results[] | select(.argument == $argument)]
             | if length > 0 then .[0] | cell($column) else "" end
           else $results[-1] | cell($column) end]
    | line)
