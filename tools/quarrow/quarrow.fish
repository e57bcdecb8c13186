# Completion of quarrow for fish.

function __quarrow_processors
    seq 0 (math (getconf _NPROCESSORS_CONF) - 1)
end

set -l commands tree cpus features caches leaves picture limits speed affinity record baseline fleet export msr mem port
set -l none "not __fish_seen_subcommand_from $commands"

complete -c quarrow -f
complete -c quarrow -s h -l help -d "Print help, or that of a command"
complete -c quarrow -l version -d "Print the version"
complete -c quarrow -l machine -r -F -d "Report the machine recorded in a file"
complete -c quarrow -l classic -d "Answer with the classic classes"
complete -c quarrow -l json -d "Print one JSON document"
complete -c quarrow -l log -x -a "1\teverything 2\tdiagnostics 3\tnotices 4\tfailures" -d "Log to standard error"
complete -c quarrow -l process -d "Visit processors by moving the whole process"

complete -c quarrow -n "$none" -a tree -d "Packages, dies, complexes, modules, cores and threads"
complete -c quarrow -n "$none" -a cpus -d "Everything about each logical processor"
complete -c quarrow -n "$none" -a features -d "What the processors have, and what programs can use"
complete -c quarrow -n "$none" -a caches -d "Caches and TLBs, and who shares each cache"
complete -c quarrow -n "$none" -a leaves -d "Every CPUID leaf with each field explained"
complete -c quarrow -n "$none" -a picture -d "The machine drawn"
complete -c quarrow -n "$none" -a limits -d "At which temperature processors slow down, turbo, performance levels"
complete -c quarrow -n "$none" -a speed -d "Rate of the time-stamp counters, base, turbo and other speeds"
complete -c quarrow -n "$none" -a affinity -d "Affinity of system, process and thread, or what a text means"
complete -c quarrow -n "$none" -a record -d "Write this machine down"
complete -c quarrow -n "$none" -a baseline -d "What all of several machines can run"
complete -c quarrow -n "$none" -a fleet -d "Many machines, those that are alike together"
complete -c quarrow -n "$none" -a export -d "This machine in a form that other programs read"
complete -c quarrow -n "$none" -a msr -d "Read or write a model-specific register"
complete -c quarrow -n "$none" -a mem -d "Read or write physical memory"
complete -c quarrow -n "$none" -a port -d "Read or write an I/O port"

complete -c quarrow -n "__fish_seen_subcommand_from cpus limits speed" -a "(__quarrow_processors)" -d "Logical processor"
complete -c quarrow -n "__fish_seen_subcommand_from record baseline fleet" -F
complete -c quarrow -n "__fish_seen_subcommand_from baseline" -a "native" -d "This machine"
complete -c quarrow -n "__fish_seen_subcommand_from fleet" -l html -r -F -d "Write a page for a browser into a file"
complete -c quarrow -n "__fish_seen_subcommand_from export" -x -a "hwloc-xml jsonl nfd prometheus slurm"
complete -c quarrow -n "__fish_seen_subcommand_from export" -l name -x -d "What jsonl and slurm call the machine"
complete -c quarrow -n "__fish_seen_subcommand_from picture" -l html -r -F -d "Make a page for a browser"
complete -c quarrow -n "__fish_seen_subcommand_from record" -l format -x -a "quarrow cpuid-r" -d "How to write it"
complete -c quarrow -n "__fish_seen_subcommand_from leaves" -l all -d "Each logical processor by itself"
complete -c quarrow -n "__fish_seen_subcommand_from picture" -l svg -r -F -d "Draw a picture into a file"
complete -c quarrow -n "__fish_seen_subcommand_from picture" -l width -x -d "Width of the text, in columns"
complete -c quarrow -n "__fish_seen_subcommand_from msr" -l cpu -x -a "(__quarrow_processors)" -d "Of that logical processor"
complete -c quarrow -n "__fish_seen_subcommand_from mem" -l size -x -a "1 2 4 8" -d "Size of the value, in bytes"
complete -c quarrow -n "__fish_seen_subcommand_from mem" -l length -x -d "Read a block of so many bytes"
complete -c quarrow -n "__fish_seen_subcommand_from port" -l size -x -a "1 2 4" -d "Size of the value, in bytes"
complete -c quarrow -n "__fish_seen_subcommand_from msr mem port" -l write -x -d "Write VALUE instead of reading"
