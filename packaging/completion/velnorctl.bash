# Completion of velnorctl for bash: commands, options, setting keys, and names out of the configuration.

_velnorctl_names() {
  # The first column of a listing, without asking anybody for anything.
  "$program" "${place[@]}" "$@" </dev/null 2>/dev/null | sed 's/  .*//; /^\(address\|list\|name\)$/d'
}

_velnorctl() {
  local program=${COMP_WORDS[0]} current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local word words=() place=() i candidates=
  for ((i = 1; i < COMP_CWORD; i++)); do
    word=${COMP_WORDS[i]}
    if [[ $word == --directory ]] && ((i + 1 < COMP_CWORD)); then
      place=(--directory "${COMP_WORDS[++i]}")
    elif [[ $word != -* ]]; then
      words+=("$word")
    fi
  done

  COMPREPLY=()
  if [[ $previous == --directory ]]; then
    mapfile -t COMPREPLY < <(compgen -d -- "$current")
    return
  fi
  if [[ $current == -* ]]; then
    candidates='--directory --json --yes --force --help'
    [[ ${words[*]} == 'maillist add-member'* ]] && candidates+=' --read-only'
  else
    case "${words[*]:0:2}" in
      '') candidates='domain user maillist rule config queue mailbox status ready metrics reload' ;;
      domain) candidates='list add rename delete' ;;
      user) candidates='list add show set password delete' ;;
      maillist) candidates='list add delete members add-member remove-member' ;;
      rule) candidates='list add delete test' ;;
      config) candidates='show get set check' ;;
      queue) candidates='list show' ;;
      'domain rename' | 'domain delete' | 'user list')
        [[ ${#words[@]} -eq 2 ]] && candidates=$(_velnorctl_names domain list)
        ;;
      'user show' | 'user password' | 'user delete' | mailbox)
        candidates=$(_velnorctl_names user list)
        ;;
      'user set' | 'user add')
        if [[ ${#words[@]} -gt 2 ]]; then
          candidates='Username= Pop3Enable= SmtpEnable= WebEnable= MaxMailNum= MailBoxSize= MailFolderNum=
            NetDiskSize= ResponseSubject= ForwardAddr= ForwardEnable= ResponseEnable= ForwardSaveLocal='
        elif [[ ${words[1]} == set ]]; then
          candidates=$(_velnorctl_names user list)
        fi
        ;;
      'maillist delete' | 'maillist members' | 'maillist add-member' | 'maillist remove-member')
        if [[ ${#words[@]} -eq 2 ]]; then
          candidates=$(_velnorctl_names maillist list)
        elif [[ ${words[1]} == remove-member ]]; then
          candidates=$(_velnorctl_names maillist members "${words[2]}")
        fi
        ;;
      'rule delete') candidates=$(_velnorctl_names rule list) ;;
      'config get' | 'config set')
        candidates='MailPath Pop3Port SmtpPort WebPort AutoStart LogToFile AntiSpamLevel MaxSizePerMail
          PrimaryDNS SecondaryDNS'
        [[ ${words[1]} == get ]] && candidates+=' LocalDomain WebPath'
        ;;
      'queue show') candidates=$(_velnorctl_names queue list) ;;
    esac
  fi
  # compgen -W would expand what stands in a name, commands in it included.
  while read -r word; do
    [[ -n $word && $word == "$current"* ]] && COMPREPLY+=("$(printf %q "$word")")
  done < <(tr -s ' ' '\n' <<<"$candidates")
  [[ ${COMPREPLY[0]} == *= ]] && compopt -o nospace
  return 0
}

complete -F _velnorctl velnorctl
