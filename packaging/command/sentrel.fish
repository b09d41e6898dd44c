# SPDX-License-Identifier: Apache-2.0
# Completion of sentrel for fish.

function __sentrel_fields
    set -l before (commandline -ct | string replace -r '[^,=]*$' '' | string replace -r '^--fields=' '')
    sentrel show --list-fields 2>/dev/null | string replace -r '^(\S+)\s+' "$before\$1\t"
end

complete -c sentrel -f
complete -c sentrel -s h -l help -d 'Print the options'

complete -c sentrel -n __fish_use_subcommand -l version -d 'Print the version'
complete -c sentrel -n __fish_use_subcommand -a show -d 'Print the figures'
complete -c sentrel -n __fish_use_subcommand -a serve -d 'Tell the figures to Prometheus'

complete -c sentrel -n '__fish_seen_subcommand_from show' -a 'cpu mem disk net battery gpu apps sensors host'
complete -c sentrel -n '__fish_seen_subcommand_from show' -l all -d 'The figures too that are sampled only on request'
complete -c sentrel -n '__fish_seen_subcommand_from show' -l fields -x -a '(__sentrel_fields)' -d 'Only these figures'
complete -c sentrel -n '__fish_seen_subcommand_from show' -l json -d 'A JSON object a line'
complete -c sentrel -n '__fish_seen_subcommand_from show' -l watch -x -d 'Again every so many seconds'
complete -c sentrel -n '__fish_seen_subcommand_from show' -l list-fields -d 'Print the names of all figures'
complete -c sentrel -n '__fish_seen_subcommand_from show' -l schema -d 'Print the JSON schema of the lines of --json'

complete -c sentrel -n '__fish_seen_subcommand_from serve' -l listen -x -d 'Where to listen'
complete -c sentrel -n '__fish_seen_subcommand_from serve' -l config -r -F -d 'A configuration file'
complete -c sentrel -n '__fish_seen_subcommand_from serve' -l list -d 'Print every metric'
