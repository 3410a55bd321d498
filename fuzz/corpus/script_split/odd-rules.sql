-- clean up
DELETE FROM tbLog WHERE LogDate < '20200101';
GO

SELECT 'LOGO
X'
go
GO
PRINT 1