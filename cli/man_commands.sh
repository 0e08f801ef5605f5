#!/bin/sh
# Prints a help2man include file with a COMMANDS section: the --help of each
# command `mandor --help` lists, so that the manual page has every option.
#   sh cli/man_commands.sh path/to/mandor > commands.h2m
set -eu
mandor=$1
echo "[COMMANDS]"
for command in $("$mandor" --help | awk '/^Subcommands:/ { listing = 1; next }
                                         listing && /^  [a-z]/ { print $1; next }
                                         listing { exit }'); do
  echo ".SS $command"
  echo ".nf"
  "$mandor" "$command" --help | sed -e 's/\\/\\e/g' -e 's/^\./\\\&./' -e "s/^'/\\\\\\&'/"
  echo ".fi"
done
