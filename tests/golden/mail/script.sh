exec 'SHARE/msmtp' -d -a tz -C 'SHARE/ACCOUNT.txt' -- 'josé@example.org' < 'SHARE/MAIL.txt'
